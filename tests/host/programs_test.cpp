// Dynamic calls by name: what is found, what must never be, and how it is called.
#include <algorithm>
#include <array>
#include <stdexcept>

#include <gtest/gtest.h>

#include "host/host.h"
#include "tests/host/temporary_folder.h"

namespace oocobol::host::tests {
namespace {

using Arguments = std::array<void *, entryArguments>;

const host_entry countArguments = [](auto... addresses) {
    std::int64_t result = 0x1'0000'0000; // wider than 4 bytes
    for (const void *address : {addresses...}) result = result * 2 + (address != nullptr);
    return result;
};
const host_entry throwing = [](auto...) -> std::int64_t { throw std::runtime_error("out of user code"); };

TEST(Programs, registeredEntriesAreFoundInAnyCaseUntilWithdrawn) {
    host_register_entry("Host-Test-Entry and more", countArguments);
    for (const auto *name : {"host-test-entry", "HOST-TEST-ENTRY", "\"Host-Test-Entry\""})
        EXPECT_EQ(findProgram(name).entry, countArguments) << name;
    host_register_entry("HOST-TEST-ENTRY", throwing);
    EXPECT_EQ(findProgram("host-test-entry").entry, throwing);
    host_register_entry("host-test-entry", nullptr);
    EXPECT_FALSE(findProgram("host-test-entry"));
    host_register_entry(nullptr, countArguments);
}

TEST(Programs, runTimeFunctionsStartUpCodeAndWhatIsNoNameAreNoPrograms) {
    using namespace std::string_literals;
    for (const auto *name : {"clock", "remove", "system", "abort", "CLOCK", "log", "environ", "malloc", "main", "_init",
                             "_start", "dlopen", "oopscancel", "host_register_entry", "_ZSt9terminatev", "stdout"})
        EXPECT_FALSE(findProgram(name)) << name;
    for (const auto &name : {""s, "\"\""s, "\""s, " "s, "a b"s, "../a"s, "/lib/x"s, "a\nb"s, "no-such-program"s,
                             "a\0b"s, std::string(81, 'x'), std::string(100'000, 'x')})
        EXPECT_FALSE(findProgram(name)) << name;
}

TEST(Programs, modulesAreSearchedInTheLibraryPath) {
    const TemporaryFolder folder;
    folder.write("difftime.c", "long difftime(void *a) { return a ? 0x100000002 : 1; } long data = 1;");
    folder.write("my-prog.c", "int my__prog(void) { return 5; }");
    folder.write("empty.so", "no module at all");
    for (const std::string name : {"difftime", "my-prog"}) {
        const auto file = (folder.path / name).string();
        ASSERT_EQ(std::system(("cc -w -shared -fPIC -o " + file + ".so " + file + ".c").c_str()), 0);
    }
    const Environment path("COB_LIBRARY_PATH", "/nowhere::" + folder.path.string());
    Arguments arguments{};
    const auto own = findProgram("DIFFTIME"); // the user's, not the C library's
    ASSERT_TRUE(own);
    EXPECT_EQ(call(own, arguments.data()), 1);
    arguments[0] = &arguments;
    EXPECT_EQ(call(own, arguments.data()), 0x100000002);
    ASSERT_TRUE(findProgram("my-prog"));
    EXPECT_FALSE(findProgram("empty"));
}

TEST(Programs, callPassesAllAddressesAndStopsExceptions) {
    Arguments arguments{};
    arguments[0] = arguments[7] = arguments[14] = &arguments;
    bool threw = true;
    EXPECT_EQ(call({.entry = countArguments}, arguments.data(), &threw), 0x8000'0000'4081);
    EXPECT_FALSE(threw);
    EXPECT_EQ(call({.entry = throwing}, arguments.data(), &threw), 0);
    EXPECT_TRUE(threw);
    EXPECT_EQ(call({.entry = throwing}, arguments.data()), 0);
    EXPECT_EQ(call({}, arguments.data()), 0);
}

// A method is called with as many addresses as it declares, in registers and on the stack.
using A = void *;
std::array<A, 18> seen;
void methodOf18(A a, A b, A c, A d, A e, A f, A g, A h, A i, A j, A k, A l, A m, A n, A o, A p, A q, A r) {
    seen = {a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r};
}
void methodOf7(A a, A b, A c, A d, A e, A f, A g) { seen = {a, b, c, d, e, f, g}; }
void throwingMethod(A, A, A) { throw 1; }

TEST(Methods, getTheirAddressesInOrder) {
    std::array<A, 18> given;
    for (auto &address : given) address = &address;
    EXPECT_TRUE(callMethod(reinterpret_cast<A>(methodOf18), false, given.data(), given.size()));
    EXPECT_EQ(seen, given);
    EXPECT_TRUE(callMethod(reinterpret_cast<A>(methodOf7), false, given.data(), 7));
    std::fill(given.begin() + 7, given.end(), nullptr);
    EXPECT_EQ(seen, given);
    EXPECT_FALSE(callMethod(reinterpret_cast<A>(throwingMethod), false, given.data(), 3));
}

} // namespace
} // namespace oocobol::host::tests
