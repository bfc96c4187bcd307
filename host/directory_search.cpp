// What directories hold: one name looked up, and the names that fit a pattern.
//
// A search reads its folder once, at the start: what is made or removed meanwhile can neither repeat a name nor skip
// one. Programs never close a search, so one is over with its last name, and the table of those that are not stays
// small by forgetting.
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <vector>

#include "host/host.h"

namespace oocobol::host {
namespace {

// ---- Names for the system ---------------------------------------------------------------------------------------

// Tries a name with each `\` read as `/`, then, when it has one, as it stands. A name that the system would take for
// another one (because it holds a null byte) or not at all is not tried.
template <class Attempt> bool tryName(std::string_view name, Attempt attempt) noexcept {
    char path[PATH_MAX];
    if (name.empty() || name.size() >= sizeof path || name.find('\0') != std::string_view::npos) return false;
    const auto end = std::replace_copy(name.begin(), name.end(), path, '\\', '/');
    *end = '\0';
    if (attempt(path)) return true;
    if (name.find('\\') == std::string_view::npos) return false;
    std::copy(name.begin(), name.end(), path);
    return attempt(path);
}

// What the name stands for; of a link that leads nowhere, the link itself.
bool readStatus(std::string_view name, struct stat &status) noexcept {
    return tryName(name, [&status](const char *path) {
        return stat(path, &status) == 0 || ((errno == ENOENT || errno == ELOOP) && lstat(path, &status) == 0);
    });
}

bool isDotOrDotDot(std::string_view name) { return name == "." || name == ".."; }

// A name that is no text in the locale is compared byte by byte: the C library sees to that.
bool matches(const std::string &pattern, const char *name) noexcept {
    return fnmatch(pattern.c_str(), name, FNM_NOESCAPE | FNM_PERIOD) == 0;
}

// ---- The names of one search ------------------------------------------------------------------------------------

class Names {
public:
    void add(std::string_view name, bool isDirectory) {
        if (name.size() >= fileNameSize) return;
        const Entry entry{0, text.size(), static_cast<std::uint8_t>(name.size()), isDirectory};
        entries.push_back(entry);
        text.append(name);
    }

    // By their bytes. Names in one folder often begin alike: what all have in common is left out of the comparisons,
    // and the eight bytes behind it are compared as one number.
    void sort() {
        const auto common = commonLength();
        for (auto &entry : entries) entry.key = keyOf(nameOf(entry).substr(common));
        std::sort(entries.begin(), entries.end(), [this](const Entry &one, const Entry &other) {
            return one.key != other.key ? one.key < other.key : nameOf(one) < nameOf(other);
        });
    }

    bool take(FoundFile &found) noexcept {
        if (isOver()) return false;
        const auto &entry = entries[next++];
        constexpr std::size_t ahead = 8; // the names lie in the folder's order
        if (next + ahead < entries.size()) __builtin_prefetch(text.data() + entries[next + ahead].offset);
        std::memcpy(found.text, text.data() + entry.offset, entry.length);
        found.length = entry.length;
        found.isDirectory = entry.isDirectory;
        found.handle = 0;
        return true;
    }
    bool isOver() const { return next == entries.size(); }

private:
    struct Entry {
        std::uint64_t key;
        std::size_t offset;
        std::uint8_t length;
        bool isDirectory;
    };
    std::string_view nameOf(const Entry &entry) const { return {text.data() + entry.offset, entry.length}; }

    std::size_t commonLength() const {
        if (entries.empty()) return 0;
        auto common = nameOf(entries.front());
        for (const auto &entry : entries) {
            const auto name = nameOf(entry);
            const auto end = std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first;
            common = common.substr(0, static_cast<std::size_t>(end - common.begin()));
        }
        return common.size();
    }
    static std::uint64_t keyOf(std::string_view rest) {
        std::uint64_t key = 0;
        std::memcpy(&key, rest.data(), std::min(rest.size(), sizeof key));
        return __builtin_bswap64(key);
    }

    std::string text; // one name after the other
    std::vector<Entry> entries;
    std::size_t next = 0;
};

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

bool isDirectory(DIR *folder, const dirent &entry) noexcept {
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status;
    return fstatat(dirfd(folder), entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

std::unique_ptr<DIR, CloseFolder> openFolder(std::string_view path) noexcept {
    DIR *folder = nullptr;
    tryName(path.empty() ? "." : path, [&folder](const char *name) { return (folder = opendir(name)) != nullptr; });
    return std::unique_ptr<DIR, CloseFolder>(folder);
}

Names namesIn(std::string_view path, const std::string &pattern) {
    Names names;
    const auto folder = openFolder(path);
    if (!folder) return names;
    while (const auto *entry = readdir(folder.get())) {
        if (!isDotOrDotDot(entry->d_name) && matches(pattern, entry->d_name))
            names.add(entry->d_name, isDirectory(folder.get(), *entry));
    }
    names.sort();
    return names;
}

Names namesFor(std::string_view pattern) {
    const auto parts = splitFileName(pattern, false);
    if (parts.base.find_first_of("*?[") != std::string_view::npos) return namesIn(parts.path, std::string(parts.base));
    Names names;
    struct stat status;
    if (!parts.base.empty() && !isDotOrDotDot(parts.base) && readStatus(pattern, status))
        names.add(parts.base, S_ISDIR(status.st_mode));
    return names;
}

// ---- The searches that go on ------------------------------------------------------------------------------------

class Searches {
public:
    // Leaves the handle under which the search goes on, unless that was its last name.
    bool start(Names names, FoundFile &found) {
        if (!names.take(found)) return false;
        if (names.isOver()) return true;
        const std::lock_guard guard(lock);
        if (open.size() >= mostSearches) forgetOldest();
        do {
            lastHandle = lastHandle % UINT16_MAX + 1;
        } while (open.contains(static_cast<std::uint16_t>(lastHandle)));
        found.handle = static_cast<std::uint16_t>(lastHandle);
        open.emplace(found.handle, Search{std::move(names), ++uses});
        return true;
    }

    bool goOn(std::uint16_t handle, FoundFile &found) noexcept {
        const std::lock_guard guard(lock);
        const auto search = open.find(handle);
        if (search == open.end()) return false;
        search->second.names.take(found);
        search->second.lastUse = ++uses;
        if (search->second.names.isOver())
            open.erase(search);
        else
            found.handle = handle;
        return true;
    }

private:
    static constexpr std::size_t mostSearches = 256;
    struct Search {
        Names names;
        std::uint64_t lastUse;
    };
    void forgetOldest() noexcept {
        open.erase(std::min_element(open.begin(), open.end(), [](const auto &one, const auto &other) {
            return one.second.lastUse < other.second.lastUse;
        }));
    }

    std::mutex lock;
    std::map<std::uint16_t, Search> open;
    std::uint64_t uses = 0;
    std::uint32_t lastHandle = 0; // all are used in turn, so that one that is over stays so for long
};

// Never destroyed: threads may still search while the process ends.
Searches &searches() {
    static auto &instance = *new Searches;
    return instance;
}

SearchResult resultOf(bool found) { return found ? SearchResult::found : SearchResult::nothing; }

} // namespace

FileStatus lookUpFile(std::string_view name) noexcept {
    struct stat status;
    if (!readStatus(name, status)) return {};
    while (name.size() > 1 && (name.back() == '/' || name.back() == '\\')) name.remove_suffix(1);
    const auto component = splitFileName(name, false).base;
    return {.found = true,
            .isDirectory = S_ISDIR(status.st_mode),
            .isHidden = component.starts_with('.') && !isDotOrDotDot(component),
            .isReadOnly = (status.st_mode & S_IWUSR) == 0,
            .size = static_cast<std::uint32_t>(std::min<off_t>(status.st_size, UINT32_MAX))};
}

SearchResult findFirstFile(std::string_view pattern, FoundFile &found) noexcept try {
    return resultOf(searches().start(namesFor(pattern), found));
} catch (const std::bad_alloc &) {
    return SearchResult::noMemory;
}

SearchResult findNextFile(std::uint16_t handle, FoundFile &found) noexcept try {
    return resultOf(searches().goOn(handle, found));
} catch (const std::bad_alloc &) {
    return SearchResult::noMemory;
}

} // namespace oocobol::host
