// Reading messages: which files may hold one, in which order, and the files read so far.
//
// The files are few and small and do not change under a running program, so each is read once, and that it is missing
// is remembered as well. Their names come from programs: nothing but a regular file of reasonable size is opened.
#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/host.h"
#include "host/message_catalog.h"
#include "host/modules.h"

namespace oocobol::host {
namespace {

using Catalog = std::shared_ptr<const MessageCatalog>; // null: no such file

// ---- Files --------------------------------------------------------------------------------------------------------

class FileDescriptor {
public:
    explicit FileDescriptor(const std::string &path)
        : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~FileDescriptor() {
        if (descriptor >= 0) close(descriptor);
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    const int descriptor;
};

bool readFile(const std::string &path, std::string &content) {
    constexpr off_t sizeLimit = 16 << 20;
    const FileDescriptor file(path);
    struct stat status;
    if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_size > sizeLimit) return false;
    content.resize(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < content.size()) {
        const auto count = read(file.descriptor, content.data() + length, content.size() - length);
        if (count <= 0) break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return true;
}

Catalog readCatalog(const std::string &path) {
    std::string content;
    if (!readFile(path, content)) return nullptr;
    return std::make_shared<const MessageCatalog>(MessageCatalog::parse(content));
}

struct Catalogs {
    std::mutex lock;
    std::map<std::string, Catalog> byPath;
};

// Never destroyed: threads may show messages while the process ends.
Catalogs &catalogs() {
    static auto &instance = *new Catalogs;
    return instance;
}

Catalog catalogAt(const std::string &path) {
    constexpr std::size_t catalogLimit = 1024; // programs that make up names must not fill the memory
    auto &known = catalogs();
    const std::lock_guard lock(known.lock);
    if (const auto found = known.byPath.find(path); found != known.byPath.end()) return found->second;
    if (known.byPath.size() >= catalogLimit) known.byPath.clear();
    return known.byPath[path] = readCatalog(path);
}

// ---- Folders and names --------------------------------------------------------------------------------------------

std::string_view variable(const char *name) {
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string currentFolder() {
    char path[4096];
    return getcwd(path, sizeof path) ? path : "."; // absolute, so that a change of folder is noticed
}

std::vector<std::string> installedFolders() {
    std::vector<std::string> folders;
#ifdef OOCOBOL_MESSAGE_FOLDER
    folders.emplace_back(OOCOBOL_MESSAGE_FOLDER);
#endif
    if (const auto own = ownFolder(); !own.empty())
        for (const auto *folder : {"/messages", "/../messages", "/../share/oocobol"}) folders.push_back(own + folder);
    return folders;
}

std::vector<std::string> searchFolders() {
    static const auto &installed = *new std::vector<std::string>(installedFolders());
    std::vector<std::string> folders{currentFolder()};
    auto path = variable("OOCOBOL_MESSAGE_PATH");
    while (!path.empty()) {
        const auto end = std::min(path.find(':'), path.size());
        if (end > 0) folders.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    folders.insert(folders.end(), installed.begin(), installed.end());
    return folders;
}

bool isLetter(char character) { return (character | 0x20) >= 'a' && (character | 0x20) <= 'z'; }

// The language of the locale, "de" in "de_DE.UTF-8"; empty where no translation is wanted.
std::string language() {
    auto locale = variable("LC_ALL");
    if (locale.empty()) locale = variable("LC_MESSAGES");
    if (locale.empty()) locale = variable("LANG");
    std::size_t length = 0;
    while (length < locale.size() && isLetter(locale[length])) ++length;
    const bool named = length >= 2 && length <= 3;
    const auto rest = locale.substr(length);
    const bool ended = rest.empty() || rest.find_first_of("_.@") == 0;
    return named && ended ? std::string(locale.substr(0, length)) : std::string();
}

std::string fileName(const MessageRequest &request) {
    std::string name(request.file);
    if (!request.extension.empty()) name.append(".").append(request.extension);
    return name;
}

// "nls/user.lng" is translated by "nls/de/user.lng".
std::string translatedName(const std::string &name, const std::string &language) {
    const auto start = name.rfind('/') + 1; // 0 without a slash
    return name.substr(0, start) + language + "/" + name.substr(start);
}

std::string withLowerFile(std::string name) {
    const auto start = name.rfind('/') + 1;
    toLower(name.data() + start, name.size() - start);
    return name;
}

std::string inFolder(const std::string &folder, std::string_view library, const std::string &name) {
    if (name.starts_with('/')) return name;
    auto path = library.starts_with('/') ? std::string() : folder + "/";
    if (!library.empty()) path.append(library).append("/");
    return path + name;
}

// In the order in which they are asked.
std::vector<std::string> fileNames(const MessageRequest &request) {
    const auto given = fileName(request);
    std::vector<std::string> plain{given};
    if (const auto lower = withLowerFile(given); lower != given) plain.push_back(lower);
    std::vector<std::string> names;
    if (const auto tongue = language(); !tongue.empty())
        for (const auto &name : plain) names.push_back(translatedName(name, tongue));
    names.insert(names.end(), plain.begin(), plain.end());
    return names;
}

bool isUsable(const MessageRequest &request) {
    constexpr std::size_t nameLimit = 1024;
    for (const auto part : {request.library, request.file, request.extension})
        if (part.size() > nameLimit || part.find('\0') != std::string_view::npos) return false;
    return !request.file.empty();
}

bool findMessage(const MessageRequest &request, std::string *text) {
    const auto folders = searchFolders();
    for (const auto &name : fileNames(request))
        for (const auto &folder : folders) {
            const auto catalog = catalogAt(inFolder(folder, request.library, name));
            const auto *message = catalog ? catalog->find(request.set, request.number) : nullptr;
            if (!message) continue;
            if (text) *text = withInserts(*message, request.inserts);
            return true;
        }
    return false;
}

} // namespace

bool readMessage(const MessageRequest &request, std::string *text) noexcept try {
    if (text) text->clear();
    return isUsable(request) && findMessage(request, text);
} catch (...) {
    if (text) text->clear();
    return false;
}

} // namespace oocobol::host
