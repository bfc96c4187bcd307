// Searches of the file name: what a pattern finds in its folder, one by one or all in a list.
//
// Each name that is found is made by messages, as a subclass may have redefined them. A list of many is made without
// them where nobody has: the results are the same.
#include <algorithm>
#include <string>

#include "classes/files/filename.h"
#include "classes/text/mixed_text.h"
#include "classes/text/operand.h"
#include "classes/text/strings.h"
#include "classes/text/text_values.h"
#include "host/host.h"

namespace oocobol::files {

namespace {

bool runsLibraryCode(const Behaviour &behaviour, std::initializer_list<std::string_view> messages) noexcept {
    return std::ranges::all_of(messages, [&](std::string_view message) {
        const auto *method = lookUp(behaviour, findSelector(message));
        return method != nullptr && method->library;
    });
}

} // namespace

bool isCutByConversion(Ref given) noexcept {
    if (const auto *fields = fieldsOf<FileNameFields>(given)) return fields->isCut != 0;
    if (!isLive(given) || !runsLibraryCode(*behaviourOfObject(given), {"asinternalfilename"})) return false;
    const Operand name(given);
    return host::bareFileName(name.bytes()).size() >= host::fileNameSize;
}

namespace {

FileNameFields &fieldsOfMade(Ref made) noexcept { return *reinterpret_cast<FileNameFields *>(bodyOf(made)); }

// A file name of that class that keeps the text; without memory the text is gone.
Answer<Ref> withNameText(Ref ofClass, Ref text, bool hasExtension) noexcept {
    if (!text) return null; // that has been raised
    const auto made = createInstance(ofClass);
    if (!made) {
        send<Ref>(SITE("finalize"), text);
        return raise(Error::noInstance);
    }
    fieldsOfMade(made).name = text;
    fieldsOfMade(made).hasExtension = hasExtension;
    return made;
}

// An object for messages that take a name and convert it: what comes out is exactly this name.
Answer<Ref> nameObject(std::string_view name) {
    if (host::isInternalFileName(name)) return newText(name);
    return withNameText(CLASS("filename"), newText(name), false);
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

// Sends a name a message that sets one of its fields. False when that failed for lack of memory: a name that lacks its
// folder is another file's.
bool setField(Ref made, Ref FileNameFields::*field, oops_site &message, Ref value) {
    const auto held = [&] {
        const auto *fields = fieldsOf<FileNameFields>(made);
        return fields != nullptr ? fields->*field : null;
    };
    const auto before = held();
    send(message, made, value);
    return held() != before || !runsMethodOf(made, message.method, "filename");
}

// The file name for what has been found in a path: a directory's ends with a separator.
Answer<Ref> withFound(Ref ofClass, Ref path, const host::FoundFile &found) {
    const auto folder = textOf(path, host::longestFileName);
    auto entry = std::string(found.name());
    if (found.isDirectory && folder.empty()) entry += host::insertedSeparator;
    const auto folderObject = nameObject(folder), entryObject = nameObject(entry);
    const Temporary folderName(folderObject.value), entryName(entryObject.value);
    if (!folderName) return folderObject;
    if (!entryName) return entryObject;

    const auto isFolderInPath = found.isDirectory && !folder.empty();
    const auto made = send<Ref>(SITE("withname"), ofClass, isFolderInPath ? folderName.ref() : entryName.ref());
    if (!made) return null;
    auto isWhole = true;
    if (isFolderInPath)
        isWhole = setField(made, &FileNameFields::name, SITE("appenddir"), entryName.ref());
    else if (!found.isDirectory)
        isWhole = setField(made, &FileNameFields::name, SITE("setpath"), folderName.ref());
    if (isWhole && path) isWhole = setField(made, &FileNameFields::searchPath, SITE("setsearchpath"), path);
    if (!isWhole) return send<Ref>(SITE("finalize"), made);
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
    if (!path) return null;
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
    if (name.failure) return name;
    return withNameText(ofClass, name.value, !found.isDirectory && host::hasExtension(entry));
}

// Whether no message that a search sends for its results is redefined.
bool searchesNatively(Ref ofClass, Ref list) noexcept {
    const auto *family = familyOfClass(ofClass);
    const auto *textFamily = familyOfClass(CLASS("chararry"));
    return family != nullptr && textFamily != nullptr && isLaidOutAs<FileNameFields>(*family) &&
           !family->anyInstanceInitialiser && !characters::mayBeDoubleByte() && nativePath(list, {"add", "size"}) &&
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
    if (!pathText) return giveUp(list, {});
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
    if (!isFound.value) return null;
    return withFound(self.classObject(), self->searchPath, found);
}

} // namespace oocobol::files
