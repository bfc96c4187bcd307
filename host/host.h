// What the library takes from the process it runs in: dynamic calls by name, the console, message files, mutexes,
// threads, external data items and the end of the run.
//
// One interface; the plain process implements it, and gnucobol.h adds what a COBOL run time in the process has to
// offer or insists on. Nothing here throws, and nothing here knows objects.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

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

namespace detail {
std::int64_t callCobol(const Program &program, void *const *arguments);
template <std::size_t... at>
std::int64_t callEntry(host_entry entry, void *const *arguments, std::index_sequence<at...>) {
    return entry(arguments[at]...);
}
} // namespace detail
// Calls it with 15 addresses, null where there is no argument; answers its 8-byte result (for COBOL code its
// RETURN-CODE). A C++ exception out of the code is caught: answers 0 and sets *threw, which may be null. In line,
// because blocks are called for each element of a collection.
inline std::int64_t call(const Program &program, void *const *arguments, bool *threw = nullptr) noexcept {
    if (threw != nullptr) *threw = false;
    try {
        if (program.cobol) return detail::callCobol(program, arguments);
        if (program) return detail::callEntry(program.entry, arguments, std::make_index_sequence<entryArguments>());
    } catch (...) {
        if (threw != nullptr) *threw = true;
    }
    return 0;
}

// Gives (or, with null, withdraws) a registered entry. Names are held without regard to case.
void registerEntry(std::string_view name, host_entry entry) noexcept;

// Rises whenever an entry is registered or withdrawn: what findProgram answered before may be otherwise now.
namespace detail {
[[gnu::visibility("hidden")]] extern constinit std::atomic<std::uint64_t> programsVersion;
}
inline std::uint64_t programsVersion() noexcept { return detail::programsVersion.load(std::memory_order_acquire); }

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
// What a mutex is for: checked builds record in which order those of each kind are taken, see lock_order.h.
enum class MutexKind : std::uint8_t { other, entryCallback, manager, names, component };
MutexHandle openMutex(MutexKind kind = MutexKind::other) noexcept;
// Whether the caller has it now: not when there is no such mutex, or it was closed meanwhile.
bool acquireMutex(MutexHandle handle) noexcept;
void releaseMutex(MutexHandle handle) noexcept;
void closeMutex(MutexHandle handle) noexcept;

// Holds a mutex for a scope, and gives it up for as long as the thread waits for any other mutex. So whoever holds one
// this way never waits while others wait for him: no order in which such mutexes are taken can end in a deadlock. A
// thread has one of them at a time: an inner scope with another mutex puts the outer one's aside until it ends.
class YieldingHold {
public:
    explicit YieldingHold(MutexHandle wanted) noexcept; // of 0: holds nothing
    ~YieldingHold();
    YieldingHold(const YieldingHold &) = delete;
    YieldingHold &operator=(const YieldingHold &) = delete;

    explicit operator bool() const noexcept { return held; }
    // In between, around what must not keep others waiting.
    void release() noexcept;
    bool acquire() noexcept;

    void putAside() noexcept;
    void takeBack() noexcept;

private:
    MutexHandle handle;
    YieldingHold *outer = nullptr;
    bool held = false;
    unsigned aside = 0; // how often the thread had the mutex when it was put aside
};

// Identifies the calling thread; never 0, never the same for two threads of one run.
namespace detail {
[[gnu::visibility("hidden")]] extern constinit thread_local std::uint64_t threadNumber
    [[gnu::tls_model("initial-exec")]];
std::uint64_t numberThread() noexcept;
} // namespace detail
inline std::uint64_t threadSelf() noexcept {
    return detail::threadNumber != 0 ? detail::threadNumber : detail::numberThread();
}
// Whether this is the thread that the process started with.
bool onMainThread() noexcept;
// Runs entry(block) on a new detached thread over a copy of the block. False when no thread could be started.
bool createThread(void (*entry)(void *block), const void *block, std::size_t length) noexcept;
// Runs action(argument) when the calling thread ends.
void atThreadExit(void (*action)(void *argument), void *argument) noexcept;

// ---- Text -------------------------------------------------------------------------------------------------------

// ASCII letters converted in place, nothing else.
void toUpper(char *text, std::size_t length) noexcept;
void toLower(char *text, std::size_t length) noexcept;

// Whether the byte, where a character starts, makes it one of two bytes: 0x81 to 0x9F and 0xE0 to 0xFC, the lead bytes
// of Shift-JIS. The two ranges meet once bit 5 is turned over.
inline constexpr std::uint8_t leadFlip = 0x20, firstLead = 0x81 ^ leadFlip, leadBytes = 0xFC - 0xE0 + 0x9F - 0x81 + 2;
constexpr bool isLeadByte(char character) noexcept {
    return static_cast<std::uint8_t>((static_cast<std::uint8_t>(character) ^ leadFlip) - firstLead) < leadBytes;
}
// 1 or 2: the bytes of the character at the start of the text; a lead byte with nothing behind it counts 1.
constexpr std::size_t characterLength(std::string_view text) noexcept {
    return text.size() >= 2 && isLeadByte(text.front()) ? 2 : 1;
}

// ---- File names -------------------------------------------------------------------------------------------------
// In all of these `/` and `\` both separate directories, and a separator that is put in is a `\`.

inline constexpr char insertedSeparator = '\\';
inline constexpr std::size_t longestFileName = 65535; // of joined parts

// A name as programs write it, without the spaces behind it and the double quotes around it.
std::string_view bareFileName(std::string_view name) noexcept;
// The same as files are opened by it: up to the first null byte, cut to 255 bytes, ended by a null byte.
inline constexpr std::size_t fileNameSize = 256;
void toInternalFileName(std::string_view name, char (&internal)[fileNameSize]) noexcept;
// Whether that conversion would leave the name as it is.
bool isInternalFileName(std::string_view name) noexcept;

struct FileNameParts {
    std::string_view path;      // up to the last separator, that one included
    std::string_view base;      // what follows, without the extension and its period
    std::string_view extension; // behind the last period
};
// Whether the last component has an extension: not when its only period is its first character, or the last period its
// last one.
bool hasExtension(std::string_view name) noexcept;
// Where there is no extension, the base takes in everything behind the path.
FileNameParts splitFileName(std::string_view name, bool withExtension) noexcept;
// The parts in one name; a path that lacks its separator gets one, and an extension its period. False when memory is
// short or the name would be longer than longestFileName.
bool joinFileName(const FileNameParts &parts, std::string &joined) noexcept;

// ---- Directories ------------------------------------------------------------------------------------------------

struct FileStatus {
    bool found = false;
    bool isDirectory = false;
    bool isHidden = false;   // the name begins with a period
    bool isReadOnly = false; // its owner may not write
    std::uint32_t size = 0;  // 0xFFFFFFFF: that or more
};
// What a name stands for. Links are followed; one that leads nowhere counts as a file. Where there is nothing, a
// name with `\` is tried as it stands: other programs make such files.
FileStatus lookUpFile(std::string_view name) noexcept;

struct FoundFile {
    std::string_view name() const { return {text, length}; }
    char text[fileNameSize];
    std::uint8_t length = 0;
    bool isDirectory = false; // or a link to one
    std::uint16_t handle = 0; // where the search goes on; 0 when this was the last
};
enum class SearchResult { found, nothing, noMemory };
// Looks in the pattern's path, taken as it stands, for the names that fit its last component: `*`, `?` and `[...]` as
// in the shell, so that only a pattern with a leading period finds names with one. Never finds "." and "..". The names
// are those at the start, in the order of their bytes.
SearchResult findFirstFile(std::string_view pattern, FoundFile &found) noexcept;
// The next name. A search that has ended is `nothing`, as is one that has been forgotten because 256 others were used
// after it.
SearchResult findNextFile(std::uint16_t handle, FoundFile &found) noexcept;

// ---- System -----------------------------------------------------------------------------------------------------

struct SystemInfo {
    std::uint8_t type; // 128: file names in lower case
    bool doubleByte;   // the environment has double-byte characters (OOCOBOL_DBCS, else the locale's encoding)
};
SystemInfo systemInfo() noexcept;

} // namespace oocobol::host
