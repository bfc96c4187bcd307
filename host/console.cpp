// Console and the end of the run.
//
// Output goes through stdio alone, because COBOL programs write there too. A key of a terminal is read through stdio
// as well, with the terminal in raw mode for that moment: so a key finds what an earlier read of a line left over.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <termios.h>
#include <unistd.h>

#include "host/gnucobol.h"
#include "host/host.h"

namespace oocobol::host {
namespace {

// One text is one piece of output, whatever other threads write.
void write(std::string_view text, bool endLine) {
    flockfile(stdout);
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (endLine) putc_unlocked('\n', stdout);
    funlockfile(stdout);
}

class RawTerminal {
public:
    RawTerminal() : active(isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &before) == 0) {
        if (!active) return;
        termios raw = before;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO); // signals of the keyboard stay on
        raw.c_cc[VMIN] = 1;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
    }
    ~RawTerminal() {
        if (active) tcsetattr(STDIN_FILENO, TCSADRAIN, &before);
    }
    RawTerminal(const RawTerminal &) = delete;
    RawTerminal &operator=(const RawTerminal &) = delete;

private:
    termios before{};
    bool active;
};

int nextByte() {
    for (;;) {
        errno = 0;
        const int byte = std::getchar();
        if (byte != EOF || !std::ferror(stdin) || errno != EINTR) return byte;
        std::clearerr(stdin);
    }
}

std::atomic<const std::int32_t *> attachedReturnCode{nullptr};
std::atomic<std::uint64_t> endingThread{0};

// The first thread to end the run does it. Another one rests until the process is gone; and when an exit procedure
// ends the run once more there is nothing left to do but to go.
void endOnlyOnce(int code) {
    std::uint64_t nobody = 0;
    const auto self = threadSelf();
    if (endingThread.compare_exchange_strong(nobody, self)) return;
    if (nobody == self) std::_Exit(code);
    for (;;) pause();
}

} // namespace

void display(std::string_view text) noexcept { write(text, false); }

void displayLine(std::string_view text) noexcept { write(text, true); }

int readKey() noexcept {
    std::fflush(stdout);
    const gnucobol::BlockingSection section;
    const RawTerminal terminal;
    const int byte = nextByte();
    return byte == EOF ? noKey : byte;
}

int acceptCharacter() noexcept {
    std::fflush(stdout);
    const gnucobol::BlockingSection section;
    const int first = nextByte();
    for (int byte = first; byte != '\n' && byte != EOF;) byte = nextByte();
    if (first == EOF) return noKey;
    return first == '\n' ? ' ' : first;
}

void attachReturnCode(const std::int32_t *returnCode) noexcept { attachedReturnCode.store(returnCode); }

void endRunUnit(int atLeast) noexcept {
    const auto *attached = attachedReturnCode.load();
    const int code = attached && *attached != 0 ? *attached : atLeast;
    endOnlyOnce(code);
    gnucobol::stopRun(code);
    std::exit(code);
}

void report(std::string_view text) noexcept {
    while (!text.empty()) {
        const auto written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace oocobol::host
