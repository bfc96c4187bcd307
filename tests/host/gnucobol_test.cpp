// The bridge to a COBOL run time, tried on the real one: programs compiled here come into this process, which was not
// linked with that run time, through the dynamic call. Skipped where there is no compiler for them.
#include <atomic>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#if __has_include(<libcob.h>)
#include <libcob.h>
#endif

#include "host/gnucobol.h"
#include "host/host.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/support.h"

#if __has_include(<libcob.h>)
#if __LIBCOB_RELEASE < 30200
static_assert(sizeof(oocobol::host::gnucobol::Module) == sizeof(cob_module));
#endif
static_assert(offsetof(oocobol::host::gnucobol::Module, parameterCount) == offsetof(cob_module, module_num_params));
static_assert(offsetof(oocobol::host::gnucobol::Global, current) == offsetof(cob_global, cob_current_module));
static_assert(offsetof(oocobol::host::gnucobol::Global, callParameters) == offsetof(cob_global, cob_call_params));
#endif

namespace oocobol::host::tests {
namespace {

// Every program calls back through an address that it is given.
constexpr std::string_view programs = R"(
PROGRAM-ID. ht-omitted. DATA DIVISION. LINKAGE SECTION.
01 A PIC X. 01 B PIC X. 01 C PIC X.
PROCEDURE DIVISION USING A B C.
    COMPUTE RETURN-CODE = -100 - NUMBER-OF-CALL-PARAMETERS
    IF ADDRESS OF A = NULL SUBTRACT 10 FROM RETURN-CODE END-IF
    IF ADDRESS OF C = NULL SUBTRACT 20 FROM RETURN-CODE END-IF
    GOBACK.
END PROGRAM ht-omitted.
PROGRAM-ID. ht-sum. DATA DIVISION. LOCAL-STORAGE SECTION.
01 MINE BINARY-LONG.
LINKAGE SECTION.
01 CB USAGE PROGRAM-POINTER. 01 N BINARY-LONG. 01 R BINARY-LONG.
PROCEDURE DIVISION USING CB N R.
    PERFORM A-START THRU A-END
    GOBACK.
A-START.
    MOVE N TO MINE
    IF N > 0 SUBTRACT 1 FROM N CALL CB USING CB N R END-CALL END-IF.
A-END.
    ADD MINE TO R.
END PROGRAM ht-sum.
PROGRAM-ID. ht-through. DATA DIVISION. LINKAGE SECTION.
01 CB USAGE PROGRAM-POINTER. 01 N BINARY-LONG. 01 R BINARY-LONG.
PROCEDURE DIVISION USING CB N R.
    CALL "ht-sum" USING CB N R END-CALL
    GOBACK.
END PROGRAM ht-through.
PROGRAM-ID. ht-lengths. DATA DIVISION. LINKAGE SECTION.
01 SELF-ITEM PIC X(8). 01 DATA-ITEM PIC X(8). 01 R PIC X ANY LENGTH. 01 A PIC X ANY LENGTH. 01 B PIC X ANY LENGTH.
PROCEDURE DIVISION USING SELF-ITEM DATA-ITEM R A B.
    COMPUTE RETURN-CODE = LENGTH OF A * 100 + LENGTH OF R
    IF ADDRESS OF B NOT = NULL COMPUTE RETURN-CODE = RETURN-CODE + LENGTH OF B * 10000 END-IF
    IF A = "FIVE" ADD 1000000 TO RETURN-CODE END-IF
    GOBACK.
END PROGRAM ht-lengths.
PROGRAM-ID. ht-send. DATA DIVISION. WORKING-STORAGE SECTION.
01 STATUS-ITEM PIC X EXTERNAL AS "host-bridge-status".
01 SEND-SITE PIC X(16). 01 OBJ PIC X(8). 01 R PIC X(10). 01 A PIC X(5) VALUE "FIVE".
LINKAGE SECTION.
01 CB USAGE PROGRAM-POINTER.
PROCEDURE DIVISION USING CB.
    MOVE "Z" TO STATUS-ITEM
    CALL CB USING OBJ SEND-SITE R A "a literal" RETURNING OMITTED END-CALL
    GOBACK.
END PROGRAM ht-send.
PROGRAM-ID. ht-call. DATA DIVISION. LINKAGE SECTION.
01 CB USAGE PROGRAM-POINTER. 01 A PIC X.
PROCEDURE DIVISION USING CB A.
    CALL CB USING A RETURNING OMITTED END-CALL
    MOVE 0 TO RETURN-CODE
    GOBACK.
END PROGRAM ht-call.
PROGRAM-ID. ht-add. DATA DIVISION. WORKING-STORAGE SECTION.
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
END PROGRAM ht-add.
)";

// The thread sanitizer is to see what the programs do.
#ifdef __SANITIZE_THREAD__
constexpr const char *options = "-b -A -fsanitize=thread -Q -fsanitize=thread";
#else
constexpr const char *options = "-b -O2";
#endif

void *entryOf(std::string_view name) { return reinterpret_cast<void *>(findProgram(name).entry); }

class GnuCobol : public testing::Test {
protected:
    // One module file holds all programs; further names are asked for once it has been loaded by the first.
    static void SetUpTestSuite() {
        static const TemporaryFolder folder;
        available = folder.compile("ht-omitted", programs, options);
        if (!available) return;
        path = folder.path.string();
        setenv("COB_LIBRARY_PATH", path.c_str(), 1);
        setenv("COB_PRE_LOAD", "ht-omitted", 1);
        EXPECT_FALSE(isCobolCode(reinterpret_cast<void *>(&entryOf)));
        EXPECT_EQ(gnucobol::CallerArguments().count(), 0);
        ASSERT_TRUE(findProgram("HT-OMITTED"));
    }
    void SetUp() override {
        if (!available) GTEST_SKIP() << "there is no COBOL compiler";
    }
    static inline bool available = false;
    static inline std::string path;
};

std::int64_t callWith(std::string_view name, std::initializer_list<void *> given) {
    std::array<void *, entryArguments> arguments{};
    std::copy(given.begin(), given.end(), arguments.begin());
    return call(findProgram(name), arguments.data());
}

// A C function that COBOL code calls; its address stands in an item.
template <class Function> void *item(Function *function) {
    static Function *address;
    address = function;
    return &address;
}

TEST_F(GnuCobol, omittedArgumentsAndReturnCodesPass) {
    EXPECT_TRUE(findProgram("ht-omitted").cobol);
    EXPECT_TRUE(isCobolCode(entryOf("ht-omitted")));
    EXPECT_FALSE(isCobolCode(reinterpret_cast<void *>(&entryOf)));
    char text = ' ';
    EXPECT_EQ(callWith("ht-omitted", {&text, &text, &text}), -103);
    EXPECT_EQ(callWith("Ht-Omitted", {nullptr, &text}), -132);
    EXPECT_EQ(callWith("ht-omitted", {}), -130);
}

const char *programToEnter;
void enterAgain(void *callback, void *n, void *r) {
    void *arguments[] = {callback, n, r};
    EXPECT_TRUE(callMethod(entryOf(programToEnter), true, arguments, 3));
}

TEST_F(GnuCobol, activeProgramsMayBeEnteredAgain) {
    for (const auto *program : {"ht-through", "ht-sum"})
        for (const int depth : {1, 3, 64, 500}) {
            programToEnter = program;
            std::int32_t n = depth, sum = 0;
            callWith("ht-sum", {item(enterAgain), &n, &sum});
            EXPECT_EQ(sum, depth * (depth + 1) / 2);
            EXPECT_EQ(gnucobol::bridge.state.depth, 0U);
        }
}

std::int64_t lengths;
void sendInScope(void *object, void *, void *returning, void *argument, void *literal) {
    EXPECT_EQ(gnucobol::CallerArguments().count(), 5);
    EXPECT_EQ(gnucobol::CallerArguments().size(2), 10U);
    EXPECT_EQ(gnucobol::CallerArguments().size(5), 0U);
    const gnucobol::SenderScope scope;
    std::array<void *, entryArguments> arguments{object, object, returning, argument, literal};
    lengths = call(findProgram("ht-lengths"), arguments.data());
}

void sendElsewhere(void *, void *, void *, void *argument, void *literal) {
    std::array<void *, entryArguments> arguments{literal, literal, argument, argument};
    {
        const gnucobol::SenderScope scope; // the argument stands elsewhere in the list than the program gave it
        lengths = call(findProgram("ht-lengths"), arguments.data());
    }
    arguments[3] = &arguments; // an address that no program knows, without a scope
    lengths = lengths * 100 + call(findProgram("ht-lengths"), arguments.data());
}

TEST_F(GnuCobol, lengthsTravelFromSenderToMethodAndExternalItemsAreShared) {
    auto *external = externalByte("host-bridge-status");
    *external = 'A';
    callWith("ht-send", {item(sendInScope)});
    EXPECT_EQ(*external, 'Z');
    EXPECT_EQ(lengths, 1'000'000 + 9 * 10'000 + 5 * 100 + 10);
    callWith("ht-send", {item(sendElsewhere)});
    EXPECT_EQ(lengths, (1'000'000 + 5 * 100 + 5) * 100);
}

TEST_F(GnuCobol, exceptionsLeaveTheRunTimeUsable) {
    char text = ' ';
    void *arguments[] = {item(+[](void *) { throw 1; }), &text};
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(callMethod(entryOf("ht-call"), true, arguments, 2));
    programToEnter = "ht-sum";
    std::int32_t n = 10, sum = 0;
    callWith("ht-sum", {item(enterAgain), &n, &sum});
    EXPECT_EQ(sum, 55);
    EXPECT_EQ(gnucobol::runTime()->current, nullptr);
}

// Two threads in one program at once, each leaving the run time to the other in the middle of it.
std::atomic<int> inside{0}, mostInside{0}, blocked{0};
void pauseInBlockingSection(void *text) {
    if (++inside > mostInside) mostInside = inside.load();
    const auto *frame = gnucobol::runTime()->current;
    const auto before = *static_cast<char *>(text);
    --inside;
    {
        const gnucobol::BlockingSection section;
        ++blocked;
        std::this_thread::yield();
    }
    ++inside;
    EXPECT_EQ(gnucobol::runTime()->current, frame);
    EXPECT_EQ(gnucobol::CallerArguments().count(), 1);
    *static_cast<char *>(text) = static_cast<char>(before + 1);
    --inside;
}

// Calls COBOL code that calls the function, which is to leave `after` in the item.
void callOften(void *callback, char after, MutexHandle held = 0) {
    for (int i = 0; i < 2000; ++i) {
        char text = 'a';
        void *arguments[] = {callback, &text};
        if (held != 0) acquireMutex(held);
        ASSERT_TRUE(callMethod(entryOf("ht-call"), true, arguments, 2));
        if (held != 0) releaseMutex(held);
        ASSERT_EQ(text, after);
    }
}

TEST_F(GnuCobol, threadsTakeTurns) {
    void *callback = item(pauseInBlockingSection);
    test::onThreads(3, [=](int) { callOften(callback, 'b'); });
    EXPECT_EQ(mostInside, 1);
    EXPECT_EQ(blocked, 6000);
    EXPECT_EQ(gnucobol::runTime()->current, nullptr);
}

// A method whose code is COBOL; what it reads and writes in four steps is one for all threads.
TEST_F(GnuCobol, threadsSendToCobolMethods) {
    constexpr int sends = 100000;
    const auto adder = test::OutsideClass("htadder", "adder", CLASS("base"), 0, sizeof(std::int32_t))
                           .method("add", reinterpret_cast<oops_method>(entryOf("ht-add")), 2)
                           .registerIt();
    const Ref objects[] = {createInstance(adder), createInstance(adder)};
    const auto add = [](Ref object, std::int32_t amount) { return send<std::int32_t>(SITE("add"), object, amount); };
    test::onThreads(2, [&](int number) {
        for (int i = 0, before = 0; i < sends; ++i) {
            const auto count = add(objects[number], 2);
            ASSERT_GT(count, before) << "send " << i;
            before = count;
        }
    });
    EXPECT_EQ(add(objects[0], 0), 2 * sends + 1);
    for (const auto object : objects) {
        EXPECT_EQ(test::valueIn<std::int32_t>(oopsgetaddress(object.bits)), 2 * sends);
        test::finalize(object);
    }
}

// A mutex that another thread holds while it waits for COBOL code: both must get on.
TEST_F(GnuCobol, threadsThatWaitForAMutexLetOthersRun) {
    static const auto contended = openMutex();
    void *callback = item(+[](void *) {
        acquireMutex(contended);
        releaseMutex(contended);
    });
    test::onThreads(2, [=](int number) { callOften(callback, 'a', number == 0 ? contended : 0); });
    closeMutex(contended);
}

TEST_F(GnuCobol, runEndsWithItsCodeFromAnyThread) {
    char text = ' ';
    const auto endFromThread = +[](void *) {
        alarm(20);
        std::thread([] { endRunUnit(6); }).detach();
        for (;;) pause();
    };
    EXPECT_EXIT((callWith("ht-call", {item(endFromThread), &text})), testing::ExitedWithCode(6), "");
}

} // namespace
} // namespace oocobol::host::tests
