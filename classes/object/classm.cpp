// Class support: the entries by which programs ask whether the runtime is recent enough, and the one that a thread
// starts in to send a message.
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr std::string_view oldestVersion = "0002.0002";

bool isRecentEnough() {
    char version[16];
    oopsgetversion(version);
    return std::string_view(version, oldestVersion.size()) >= oldestVersion;
}

// class, also under its program's name: 0 when the runtime is too old, else 1.
std::int64_t classEntry(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                        void *, void *, void *) {
    return isRecentEnough() ? 1 : 0;
}

// CVERSION: the other way round.
std::int64_t versionEntry(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                          void *, void *, void *, void *) {
    return isRecentEnough() ? 0 : 1;
}

// CLVERSN: what `class` answers.
std::int64_t classVersionEntry(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                               void *, void *, void *, void *) {
    std::int64_t answer = 0;
    callProgram("class", &answer);
    return answer;
}

// What MessageHeader finds behind its one argument.
struct MessageBlock {
    void *arguments[15];
    const char *method;
    Ref receiver;
};
static_assert(sizeof(MessageBlock) == 136);

// MessageHeader (block): sends the message that the block describes, without a returning item.
std::int64_t messageHeader(void *block, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                           void *, void *, void *, void *) {
    if (block == nullptr) return 0;
    MessageBlock message;
    std::memcpy(&message, block, sizeof message);
    void *arguments[maximumArguments] = {};
    std::copy(std::begin(message.arguments), std::end(message.arguments), arguments + 1);
    sendByName(message.receiver, message.method, nullptr, nullptr, arguments, maximumArguments);
    return 0;
}

constexpr ProgramDef definitions[] = {{"classm", classEntry},
                                      {"class", classEntry},
                                      {"cversion", versionEntry},
                                      {"clversn", classVersionEntry},
                                      {"MessageHeader", messageHeader}};
const Registered registered[] = {Registered(definitions[0]), Registered(definitions[1]), Registered(definitions[2]),
                                 Registered(definitions[3]), Registered(definitions[4])};

} // namespace
} // namespace oocobol

// The three as the CALL of a COBOL program finds them. `class` cannot be a name in C++.
extern "C" {
OOCOBOL_PUBLIC int classProgram(void) __asm__("class");
int classProgram(void) { return oocobol::isRecentEnough() ? 1 : 0; }
int CVERSION(void) { return oocobol::isRecentEnough() ? 0 : 1; }
int CLVERSN(void) { return classProgram(); }
}
