// Searches of the file name: what a pattern finds in its folder, one by one or all in a list.
//
// Each name that is found is made by messages, as a subclass may have redefined them. A list of many is made without
// them where nobody has: the results are the same.
#include <algorithm>
#include <string>

#include "classes/files/filename.h"
#include "classes/text/double_byte.h"
#include "classes/text/operand.h"
#include "classes/text/strings.h"
#include "classes/text/text_values.h"
#include "host/host.h"

namespace oocobol::files {

bool isCutByConversion(Ref given) noexcept {
    if (const auto *fields = fieldsOf<FileNameFields>(given)) return fields->isCut != 0;
    return host::bareFileName(nativeValue(given)).size() >= host::fileNameSize;
}

namespace {

FileNameFields &fieldsOfMade(Ref made) noexcept { return *reinterpret_cast<FileNameFields *>(bodyOf(made)); }

// An object for messages that take a name and convert it: what comes out is exactly this name.
Ref nameObject(std::string_view name) {
    if (host::isInternalFileName(name)) return newText(name);
    const auto made = createInstance(CLASS("filename"));
    const auto text = made ? newText(name) : null;
    if (text) fieldsOfMade(made).name = text;
    return made;
}

// A pattern that was cut would find other files.
Answer<bool> findFirstOf(Ref pattern, host::FoundFile &found) {
    const Operand name(pattern);
    if (name.failure()) return name.failure();
    if (isCutByConversion(pattern)) return false;
    const auto result = host::findFirstFile(name.bytes(), found);
    if (result == host::SearchResult::noMemory) return raise(Error::noWorkArea);
    return result == host::SearchResult::found;
}
Answer<bool> findNextOf(std::uint16_t handle, host::FoundFile &found) {
    const auto result = host::findNextFile(handle, found);
    if (result == host::SearchResult::noMemory) return raise(Error::noWorkArea);
    return result == host::SearchResult::found;
}

// The file name for what has been found in a path: a directory's ends with a separator.
Ref withFound(Ref ofClass, Ref path, const host::FoundFile &found) {
    const auto folder = textOf(path, host::longestFileName);
    const Temporary pathName(nameObject(folder));
    auto entry = std::string(found.name());
    if (found.isDirectory && folder.empty()) entry += host::insertedSeparator;
    const Temporary entryName(nameObject(entry));

    const auto isFolderInPath = found.isDirectory && !folder.empty();
    const auto made = send<Ref>(SITE("withname"), ofClass, isFolderInPath ? pathName.ref() : entryName.ref());
    if (!made) return null;
    if (isFolderInPath)
        send(SITE("appenddir"), made, entryName.ref());
    else if (!found.isDirectory)
        send(SITE("setpath"), made, pathName.ref());
    if (path) send(SITE("setsearchpath"), made, path);
    send(SITE("setsearchhandle"), made, found.handle);
    return made;
}

} // namespace

Answer<Ref> findFirst(const ClassSelf &self, Ref pattern) {
    const Temporary name(sendSelf<Ref>(SITE("withname"), self, pattern));
    if (!name) return null;
    host::FoundFile found;
    const auto isFound = findFirstOf(name.ref(), found);
    if (isFound.failure) return isFound.failure;
    if (!isFound.value) return null;
    const Temporary path(send<Ref>(SITE("path"), name.ref()));
    return withFound(self.ref(), path.ref(), found);
}

namespace {

// What withFound makes, for a class without redefinitions. The search will be over before anybody sees its names, so
// that there is nothing of it to remember.
Answer<Ref> makeFound(Ref ofClass, std::string_view path, const host::FoundFile &found) noexcept {
    const auto entry = found.name();
    const std::string_view separator(&host::insertedSeparator, found.isDirectory ? 1 : 0);
    NewText joined(CLASS("chararry"), path.size() + entry.size() + separator.size());
    const auto name = joined.append(path).append(entry).append(separator).finish();
    if (!name.value) return name;
    const auto made = createInstance(ofClass);
    if (!made) {
        send<Ref>(SITE("finalize"), name.value);
        return raise(Error::noInstance);
    }
    auto &fields = fieldsOfMade(made);
    fields.name = name.value;
    fields.hasExtension = !found.isDirectory && host::hasExtension(entry);
    return made;
}

bool runsLibraryCode(const Behaviour &behaviour, std::initializer_list<std::string_view> messages) noexcept {
    return std::ranges::all_of(messages, [&](std::string_view message) {
        const auto *method = lookUp(behaviour, findSelector(message));
        return method != nullptr && method->library;
    });
}

// Whether no message that a search sends for its results is redefined.
bool searchesNatively(Ref ofClass, Ref list) noexcept {
    const auto *family = familyOfClass(ofClass);
    const auto *textFamily = familyOfClass(CLASS("chararry"));
    return family != nullptr && textFamily != nullptr && isLaidOutAs<FileNameFields>(*family) &&
           !family->anyInstanceInitialiser && !doubleByte::mayOccur() && nativePath(list, {"add", "size"}) &&
           nativePath(ofClass, {"new"}) && runsLibraryCode(*family->classSide, {"withname", "findfirst"}) &&
           runsLibraryCode(*family->instances, {"initialize", "path", "appenddir", "setpath", "setsearchpath",
                                                "setsearchhandle", "findnext", "finalize"}) &&
           runsLibraryCode(*textFamily->classSide, {"withvalue", "withbytelengthvalue"}) &&
           runsLibraryCode(*textFamily->instances, {"asinternalfilename", "concatz", "copy"});
}

// Adds an object as the last of `size` in the list. False when there is none or no room for it: then it has been
// finalized.
bool addOwned(Ref list, Ref object, Count size) {
    if (!object) return false;
    send(SITE("add"), list, object);
    if (send<Count>(SITE("size"), list) == size) return true;
    send<Ref>(SITE("finalize"), object);
    return false;
}

// Without memory there is no list, and what has been made is gone again.
Answer<Ref> giveUp(Ref list, Failure failure) {
    send<Ref>(SITE("deepfinalize"), list);
    if (failure) return failure;
    return null; // whoever could not do it has raised it
}

Answer<Ref> expandNatively(const ClassSelf &self, Ref pattern, Ref list) {
    const Temporary name(sendSelf<Ref>(SITE("withname"), self, pattern));
    if (!name) return list; // what kept it from being one has been raised
    const Temporary pathText(send<Ref>(SITE("path"), name.ref()));
    const auto path = textOf(pathText.ref(), host::longestFileName);
    host::FoundFile found;
    auto isFound = findFirstOf(name.ref(), found);
    Count size = 0;
    for (; isFound.value; isFound = findNextOf(found.handle, found)) {
        const auto made = makeFound(self.ref(), path, found);
        if (!addOwned(list, made.value, ++size)) return giveUp(list, made.failure);
    }
    if (isFound.failure) return giveUp(list, isFound.failure);
    return list;
}

} // namespace

Answer<Ref> expandWildcards(const ClassSelf &self, Ref pattern) {
    const auto list = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{50});
    if (!list) return null;
    if (searchesNatively(self.ref(), list)) return expandNatively(self, pattern, list);
    auto found = sendSelf<Ref>(SITE("findfirst"), self, pattern);
    for (Count size = 1; found; ++size) {
        if (!addOwned(list, found, size)) return giveUp(list, {});
        found = send<Ref>(SITE("findnext"), found);
    }
    return list;
}

Answer<Ref> findNext(const Self &self) {
    host::FoundFile found;
    const auto isFound = findNextOf(self->searchHandle, found);
    if (isFound.failure) return isFound.failure;
    return isFound.value ? withFound(self.classObject(), self->searchPath, found) : null;
}

} // namespace oocobol::files
