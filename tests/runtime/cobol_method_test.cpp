// A method whose code is COBOL, sent by threads at once: the run time knows no threads, so the library lets one in at a
// time. Skipped where there is no compiler.
#include <cstdlib>
#include <string>

#include "host/host.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// What it reads and writes in four steps is one for all threads.
constexpr std::string_view program = R"(
IDENTIFICATION DIVISION.
PROGRAM-ID. ct-add.
DATA DIVISION.
WORKING-STORAGE SECTION.
01 ALL-SENDS BINARY-LONG VALUE 0. 01 SEEN BINARY-LONG.
LINKAGE SECTION.
01 SELF-OBJECT USAGE POINTER. 01 OWN-SUM BINARY-LONG. 01 ANSWER BINARY-LONG. 01 AMOUNT BINARY-LONG.
PROCEDURE DIVISION USING SELF-OBJECT OWN-SUM ANSWER AMOUNT.
    MOVE ALL-SENDS TO SEEN
    ADD AMOUNT TO OWN-SUM
    ADD 1 TO SEEN
    MOVE SEEN TO ALL-SENDS
    MOVE ALL-SENDS TO ANSWER
    GOBACK.
END PROGRAM ct-add.
)";

// The thread sanitizer is to see what the program does.
#ifdef __SANITIZE_THREAD__
constexpr const char *options = "-m -A -fsanitize=thread -Q -fsanitize=thread";
#else
constexpr const char *options = "-m";
#endif

constexpr int sends = 100000;

void sendOften(Ref object) {
    std::int32_t before = 0;
    for (int i = 0; i < sends; ++i) {
        const auto count = send<std::int32_t>(SITE("add"), object, std::int32_t{2});
        ASSERT_GT(count, before) << "send " << i;
        before = count;
    }
}

TEST(CobolMethod, TwoThreadsSendAtOnce) {
    const host::tests::TemporaryFolder folder;
    if (!folder.compile("ct-add", program, options)) GTEST_SKIP() << "there is no COBOL compiler";
    const host::tests::Environment path("COB_LIBRARY_PATH", folder.path.string());
    const auto found = host::findProgram("ct-add");
    ASSERT_TRUE(found && found.cobol);

    const auto adder = OutsideClass("ctadder", "adder", CLASS("base"), 0, sizeof(std::int32_t))
                           .method("add", reinterpret_cast<oops_method>(reinterpret_cast<void (*)()>(found.entry)), 2)
                           .registerIt();
    const auto one = createInstance(adder), two = createInstance(adder);
    onThreads(2, [&](int number) { sendOften(number == 0 ? one : two); });
    const auto all = send<std::int32_t>(SITE("add"), one, std::int32_t{0});
    EXPECT_EQ(all, 2 * sends + 1);
    for (const auto object : {one, two}) {
        EXPECT_EQ(valueIn<std::int32_t>(oopsgetaddress(object.bits)), 2 * sends);
        finalize(object);
    }
}

} // namespace
} // namespace oocobol::test
