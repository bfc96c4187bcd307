// File names as text: their forms, their parts, and parts joined to a name. Nothing here looks at the disk.
#include <cstring>
#include <new>

#include "host/host.h"

namespace oocobol::host {
namespace {

bool isSeparator(char character) { return character == '/' || character == '\\'; }

std::string_view lastComponent(std::string_view name) {
    auto start = name.size();
    while (start > 0 && !isSeparator(name[start - 1])) --start;
    return name.substr(start);
}

} // namespace

std::string_view bareFileName(std::string_view name) noexcept {
    while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"') name = name.substr(1, name.size() - 2);
    return name;
}

void toInternalFileName(std::string_view name, char (&internal)[fileNameSize]) noexcept {
    name = bareFileName(name).substr(0, fileNameSize - 1);
    std::memset(internal, 0, fileNameSize);
    if (!name.empty()) std::memcpy(internal, name.data(), name.size());
}

bool isInternalFileName(std::string_view name) noexcept {
    return name.size() < fileNameSize && bareFileName(name).size() == name.size() &&
           name.find('\0') == std::string_view::npos;
}

bool hasExtension(std::string_view name) noexcept {
    const auto component = lastComponent(name);
    const auto period = component.rfind('.');
    return period != std::string_view::npos && period != 0 && period + 1 != component.size();
}

FileNameParts splitFileName(std::string_view name, bool withExtension) noexcept {
    const auto component = lastComponent(name);
    const auto path = name.substr(0, name.size() - component.size());
    const auto period = withExtension ? component.rfind('.') : std::string_view::npos;
    if (period == std::string_view::npos) return {path, component, {}};
    return {path, component.substr(0, period), component.substr(period + 1)};
}

bool joinFileName(const FileNameParts &parts, std::string &joined) noexcept try {
    if (parts.path.size() + parts.base.size() + parts.extension.size() + 2 > longestFileName) return false;
    joined = parts.path;
    if (!joined.empty() && !isSeparator(joined.back())) joined += insertedSeparator;
    joined += parts.base;
    if (!parts.extension.empty()) (joined += '.') += parts.extension;
    return true;
} catch (const std::bad_alloc &) {
    return false;
}

} // namespace oocobol::host
