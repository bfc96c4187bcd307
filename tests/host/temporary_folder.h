// A folder that a test fills and that is gone afterwards, and environment variables that are put back.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

#include <gtest/gtest.h>

namespace oocobol::host::tests {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "oocobol-test-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    void write(const std::string &name, std::string_view content) const {
        const auto file = path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
    }

    // Compiles COBOL programs into a module of the folder; answers whether there is a compiler for them.
    bool compile(const std::string &name, std::string_view programs, const std::string &options) const {
        if (std::system("cobc --version >/dev/null 2>&1") != 0) return false;
        write(name + ".cob", programs);
        const auto file = (path / name).string();
        EXPECT_EQ(std::system(("cobc -free " + options + " -o " + file + ".so " + file + ".cob").c_str()), 0);
        return true;
    }

    std::filesystem::path path;
};

class Environment {
public:
    Environment(const char *variable, const std::string &value) : name(variable) {
        if (const char *old = std::getenv(variable)) before = old;
        setenv(variable, value.c_str(), 1);
    }
    ~Environment() {
        if (before)
            setenv(name, before->c_str(), 1);
        else
            unsetenv(name);
    }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    const char *name;
    std::optional<std::string> before;
};

} // namespace oocobol::host::tests
