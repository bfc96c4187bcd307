// The exported interface, used by programs that link the shared library and nothing else.
#include <gtest/gtest.h>

#include "oocobol/oocobol.h"

TEST(PublicInterface, TellsItsVersion) {
    char version[16];
    oopsgetversion(version);
    EXPECT_GE(std::string_view(version, 9), "0002.0002");
    EXPECT_EQ(std::string_view(version + 9, 7), "       ");
}

TEST(PublicInterface, NullAddressesAreLetBe) {
    oopsgetclassobject(nullptr, "base");
    oops_ref none = 1;
    oopsgetclassobject(&none, nullptr);
    EXPECT_EQ(none, 0u);
    oopsgetsuperclass(0, nullptr);
    oopsclassname(0, nullptr);
    oopserrordetails(0, nullptr, nullptr);
    oopsrecord(nullptr, nullptr, nullptr, 0, 0, 0);
    oopsfree(nullptr);
    oopsfreememory(nullptr);
    oopsfreecache(nullptr);
    oopscancel(0);
    host_register_entry(nullptr, nullptr);
}
