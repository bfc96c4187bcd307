// What the system is, and the data items that the whole process shares.
#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host/gnucobol.h"
#include "host/host.h"

namespace oocobol::host {
namespace {

// Letters and digits only, in upper case: "Shift_JIS" and "SHIFT-JIS" are one encoding.
std::string plainName(std::string_view encoding) {
    std::string result;
    for (const char character : encoding)
        if (std::isalnum(static_cast<unsigned char>(character))) result += character;
    toUpper(result.data(), result.size());
    return result;
}

bool isDoubleByte(std::string_view encoding) {
    constexpr std::string_view encodings[] = {"SHIFTJIS", "SJIS",  "CP932", "MS932",  "WINDOWS31J", "EUCJP",
                                              "EUCKR",    "EUCCN", "EUCTW", "GB2312", "GBK",        "GB18030",
                                              "BIG5",     "CP936", "CP949", "CP950",  "BIG5HKSCS",  "JOHAB"};
    return std::ranges::find(encodings, plainName(encoding)) != std::ranges::end(encodings);
}

// The locale of the environment: the process's own is often left at "C" by its program.
bool localeIsDoubleByte() {
    const auto locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (!locale) return isDoubleByte(nl_langinfo(CODESET));
    const bool answer = isDoubleByte(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return answer;
}

struct ExternalItems {
    std::mutex lock;
    std::map<std::string, std::uint8_t *> items; // by the name that COBOL run times use
};

// Never destroyed: threads may still use the items while the process ends.
ExternalItems &externalItems() {
    static auto &instance = *new ExternalItems;
    return instance;
}

std::string externalName(std::string_view name) {
    std::string result(name);
    toUpper(result.data(), result.size());
    std::ranges::replace(result, '-', '_');
    return result;
}

} // namespace

SystemInfo systemInfo() noexcept try {
    constexpr std::uint8_t lowerCaseFileNames = 128;
    const char *given = std::getenv("OOCOBOL_DBCS");
    const std::string_view choice = given ? given : "";
    const bool doubleByte = choice == "1" || (choice != "0" && localeIsDoubleByte());
    return {.type = lowerCaseFileNames, .doubleByte = doubleByte};
} catch (...) {
    return {.type = 128, .doubleByte = false};
}

std::uint8_t *externalByte(std::string_view name) noexcept try {
    const auto key = externalName(name);
    auto &[lock, items] = externalItems();
    {
        const std::lock_guard guard(lock);
        if (const auto known = items.find(key); known != items.end()) return known->second;
    }
    // Asked without our lock: this may wait for the thread that runs COBOL code.
    auto *shared = gnucobol::externalByte(key.c_str());
    const std::lock_guard guard(lock);
    auto &item = items[key];
    if (!item) item = shared ? shared : new std::uint8_t(0);
    return item;
} catch (...) {
    return nullptr;
}

} // namespace oocobol::host
