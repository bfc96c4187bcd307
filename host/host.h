// What the library takes from the process it runs in: dynamic calls by name, the console, message files, mutexes,
// threads, external data items and the end of the run.
//
// One interface; the plain process implements it, and gnucobol.h adds what a COBOL run time in the process has to
// offer or insists on. Nothing here throws, and nothing here knows objects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "oocobol/oocobol.h"

namespace oocobol::host {

// ---- Dynamic calls ----------------------------------------------------------------------------------------------

inline constexpr std::size_t entryArguments = 15;

// Code found by name. COBOL code is called under the rules of its run time, see call().
struct Program {
    host_entry entry = nullptr;
    bool cobol = false;
    bool wide = true; // answers 8 bytes; a COBOL program's return code has 4
    explicit operator bool() const { return entry != nullptr; }
};

// Looks at the registered entries, at what the process exports (the name as it is, then in lower and in upper case),
// at the COBOL run time, and at NAME.so in the folders of COB_LIBRARY_PATH and the current folder. The name may stand
// in double quotes. Nothing is run. Empty and over-long names (more than 80 bytes) are never found.
Program findProgram(std::string_view name) noexcept;

// Calls it with 15 addresses, null where there is no argument; answers its 8-byte result (for COBOL code its
// RETURN-CODE). A C++ exception out of the code is caught: answers 0 and sets *threw, which may be null.
std::int64_t call(const Program &program, void *const *arguments, bool *threw = nullptr) noexcept;

// Gives (or, with null, withdraws) a registered entry. Names are held without regard to case.
void registerEntry(std::string_view name, host_entry entry) noexcept;

// Rises whenever an entry is registered or withdrawn: what findProgram answered before may be otherwise now.
std::uint64_t programsVersion() noexcept;

// Whether the code at this address was compiled by a COBOL compiler, as far as its module shows: C code linked with a
// COBOL run time counts as COBOL code and is called as such, which does it no harm. Never true without a COBOL run
// time in the process.
bool isCobolCode(const void *address) noexcept;

// Calls a method's code, C or COBOL, with `count` addresses (at most 18). Answers false when a C++ exception came out
// of it (it has been swallowed).
bool callMethod(void *entry, bool cobol, void *const *arguments, std::size_t count) noexcept;

// Keeps the module that holds this address mapped for the rest of the run.
void pinModule(const void *address) noexcept;

// ---- Data shared with COBOL programs ----------------------------------------------------------------------------

// The process-wide one-byte item of that name, zero when first made; the same that COBOL programs declare EXTERNAL
// when a COBOL run time is in the process. Letter case does not matter and '-' is '_'. One name always has one
// address: an item made before a COBOL run time was loaded stays apart from COBOL's. Null when memory is short.
std::uint8_t *externalByte(std::string_view name) noexcept;

// ---- Console ----------------------------------------------------------------------------------------------------

// To the standard output through stdio, in order with what COBOL and C programs write there.
void display(std::string_view text) noexcept;
void displayLine(std::string_view text) noexcept;

inline constexpr int noKey = -1;
// Waits for one key: a raw byte of the terminal, or the next byte of the standard input; noKey at its end.
int readKey() noexcept;
// Reads a line of the standard input and answers its first character, a space when the line is empty; noKey at the
// end of input.
int acceptCharacter() noexcept;

// Ends the run unit with the current return code, or with `atLeast` when that is 0. Buffers are flushed and exit
// procedures run; it waits for no lock and no thread.
[[noreturn]] void endRunUnit(int atLeast = 0) noexcept;
// The return code that endRunUnit passes on, for programs that attach theirs; null detaches.
void attachReturnCode(const std::int32_t *returnCode) noexcept;

// A fixed text, line end included, to the standard error output, for the moment when no object can be used.
void report(std::string_view text) noexcept;

// ---- Message files ----------------------------------------------------------------------------------------------

struct MessageRequest {
    std::string_view library;   // a folder prefix, usually empty
    std::string_view file;      // "oocobol"; may carry a path
    std::string_view extension; // "lng"
    unsigned set = 1;
    unsigned number = 0;
    std::span<const std::string_view> inserts = {}; // for %1 to %6; a missing one shows nothing
};
// Whether the message exists; its text with the inserts in place goes to *text (at most 2,048 bytes). A translation
// for the locale comes first (from LC_ALL, LC_MESSAGES or LANG: "de/oocobol.lng"), then the file itself. Files are
// looked for in the current folder, the folders of OOCOBOL_MESSAGE_PATH and the installed folder, case of the name as
// given then lower; the first file that has the message gives it. Each file is read once.
bool readMessage(const MessageRequest &request, std::string *text) noexcept;

// ---- Mutexes and threads ----------------------------------------------------------------------------------------

// An intra-process mutex behind an 8-byte handle; its owner may acquire it again. A handle of 0 or a closed one is
// let be, and closing a mutex sends those who wait for it on. A thread that ends leaves none behind. open answers 0
// when memory is short.
using MutexHandle = std::uint64_t;
MutexHandle openMutex() noexcept;
void acquireMutex(MutexHandle handle) noexcept;
void releaseMutex(MutexHandle handle) noexcept;
void closeMutex(MutexHandle handle) noexcept;

// Identifies the calling thread; never 0, never the same for two threads of one run.
std::uint64_t threadSelf() noexcept;
// Whether this is the thread that the process started with.
bool onMainThread() noexcept;
// Runs entry(block) on a new detached thread over a copy of the block. False when no thread could be started.
bool createThread(void (*entry)(void *block), const void *block, std::size_t length) noexcept;
// Runs action(argument) when the calling thread ends.
void atThreadExit(void (*action)(void *argument), void *argument) noexcept;

// ---- Text and system --------------------------------------------------------------------------------------------

// ASCII letters converted in place, nothing else.
void toUpper(char *text, std::size_t length) noexcept;
void toLower(char *text, std::size_t length) noexcept;

// A file name as programs hold it in the form that files are opened by, ended by a null byte: without spaces at its
// end and quotes around it, cut to 255 bytes.
inline constexpr std::size_t fileNameSize = 256;
void toInternalFileName(std::string_view name, char (&internal)[fileNameSize]) noexcept;

struct SystemInfo {
    std::uint8_t type; // 128: file names in lower case
    bool doubleByte;   // the environment has double-byte characters (OOCOBOL_DBCS, else the locale's encoding)
};
SystemInfo systemInfo() noexcept;

// 1 or 2: the bytes of the character at the start of the text; a lead byte with nothing behind it counts 1.
// Lead bytes are those of Shift-JIS.
std::size_t characterLength(std::string_view text) noexcept;

} // namespace oocobol::host
