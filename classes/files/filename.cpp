// File name: one name of a file, its parts, and what the directory says of it.
//
// The name is a text in the form that files are opened by. Where its base name ends and its extension begins cannot be
// seen from the name alone: the flag says whether there is an extension, which then stands behind the last period.
// Texts give names of at most 255 bytes; file names themselves may give longer ones, and searches make them.
#include "classes/files/filename.h"

#include <string>
#include <utility>

#include "classes/text/operand.h"
#include "classes/text/text_values.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "filename";

using files::ClassSelf;
using files::Self;
using Fields = FileNameFields;

// The object keeps `made` in the field and ends what the field held; an object that is gone keeps nothing.
void replace(const Self &self, Ref Fields::*field, Ref made) {
    if (self.isAlive()) std::swap((*self).*field, made);
    if (made) send<Ref>(SITE("finalize"), made);
}

// ---- Creation ---------------------------------------------------------------------------------------------------

// withname (name) -> file name. Null when there is no name to be had of the object.
Ref withName(ClassSelf self, Ref name) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (made) send(SITE("initialize"), made, name);
    const auto *fields = fieldsOf<Fields>(made);
    if (fields == nullptr || fields->name) return made;
    return send<Ref>(SITE("finalize"), made); // the reason has been raised
}

Ref withText(const ClassSelf &self, Ref text) {
    const Temporary name(text);
    return name ? sendSelf<Ref>(SITE("withname"), self, name.ref()) : null;
}

// withvalue (null-terminated text), withlengthvalue (length, text) -> file name.
Ref withValue(ClassSelf self, Bytes value) {
    return withText(self, send<Ref>(SITE("withvalue"), CLASS("chararry"), value));
}
Ref withLengthValue(ClassSelf self, Index length, Bytes value) {
    return withText(self, send<Ref>(SITE("withlengthvalue"), CLASS("chararry"), length, value));
}

// withbufferlengthvalue (length, buffer) -> file name. Without null bytes at the end and spaces around.
Ref withBufferLengthValue(ClassSelf self, Index length, Bytes buffer) {
    while (length >= 1 && buffer.address[length - 1] == '\0') --length;
    const Temporary given(send<Ref>(SITE("withbytelengthvalue"), CLASS("chararry"), length, buffer));
    return given ? withText(self, send<Ref>(SITE("trimblanks"), given.ref())) : null;
}

// initialize (name).
Answer<void> initialize(Self self, Ref given) {
    const auto isCut = files::isCutByConversion(given);
    replace(self, &Fields::name, send<Ref>(SITE("asinternalfilename"), given));
    if (!self->name) return {};
    const Operand name(self->name);
    if (name.failure()) return name.failure();
    self->hasExtension = host::hasExtension(name.bytes());
    self->isCut = isCut;
    return {};
}

// ---- Searches: file_search.cpp ------------------------------------------------------------------------------------

// setsearchhandle (handle). setsearchpath (path). Keeps a copy.
void setSearchHandle(Self self, std::uint16_t handle) { self->searchHandle = handle; }
void setSearchPath(Self self, Ref path) {
    if (const auto copied = send<Ref>(SITE("copy"), path)) replace(self, &Fields::searchPath, copied);
}

// ---- Parts ------------------------------------------------------------------------------------------------------

// The characters of a name or a part, copied: what is done with them sends messages. `given` is false where there is no
// object or it has more characters than a name.
struct Characters {
    explicit Characters(Ref object) {
        if (!object) return;
        const Operand value(object);
        failure = value.failure();
        given = !failure && value.bytes().size() <= host::longestFileName;
        if (given) bytes = value.bytes();
    }
    std::string bytes;
    bool given = false;
    Failure failure;
};

template <class Choose> Answer<Ref> partOf(const Self &self, Choose choose) {
    const Characters name(self->name);
    if (name.failure) return name.failure;
    if (!name.given) return null;
    return newText(choose(host::splitFileName(name.bytes, self->hasExtension != 0)));
}

// path, basename, extension () -> text. Null when there is no name.
Answer<Ref> path(Self self) {
    return partOf(self, [](const auto &parts) { return parts.path; });
}
Answer<Ref> baseName(Self self) {
    return partOf(self, [](const auto &parts) { return parts.base; });
}
Answer<Ref> extension(Self self) {
    return partOf(self, [](const auto &parts) { return parts.extension; });
}

// filenamewithoutdir, fullfilename () -> text.
Answer<Ref> fileNameWithoutDir(Self self) {
    const Characters name(self->name);
    if (name.failure) return name.failure;
    if (!name.given) return null;
    return newText(host::splitFileName(name.bytes, false).base);
}
Answer<Ref> fullFileName(Self self) {
    const Characters name(self->name);
    if (name.failure) return name.failure;
    return name.given ? newText(name.bytes) : null;
}

// A name in the making.
struct Draft {
    host::FileNameParts parts;
    bool hasExtension;
    std::string path; // for a path that is put together
};

// Changes the name by what another object gives, in internal form. Where one of the two cannot be had, or the new name
// would be too long, nothing changes.
template <class Change> Answer<void> changeBy(const Self &self, Ref given, Change change) {
    const auto isCut = files::isCutByConversion(given);
    const Temporary converted(send<Ref>(SITE("asinternalfilename"), given));
    const Characters part(converted.ref());
    if (part.failure) return part.failure;
    const Characters name(self->name);
    if (name.failure) return name.failure;
    if (!part.given || !name.given) return {};

    const auto hasExtension = self->hasExtension != 0;
    Draft draft{host::splitFileName(name.bytes, hasExtension), hasExtension, {}};
    change(draft, std::string_view(part.bytes));
    std::string joined;
    const auto made = host::joinFileName(draft.parts, joined) ? newText(joined) : null;
    if (!made) return {};
    replace(self, &Fields::name, made);
    self->hasExtension = draft.hasExtension;
    if (isCut) self->isCut = 1;
    return {};
}

// setpath, setbasename, setextension (part). An empty extension leaves a name that has none, whatever its periods.
Answer<void> setPath(Self self, Ref given) {
    return changeBy(self, given, [](Draft &draft, std::string_view part) { draft.parts.path = part; });
}
Answer<void> setBaseName(Self self, Ref given) {
    return changeBy(self, given, [](Draft &draft, std::string_view part) { draft.parts.base = part; });
}
Answer<void> setExtension(Self self, Ref given) {
    return changeBy(self, given, [](Draft &draft, std::string_view part) {
        draft.parts.extension = part;
        draft.hasExtension = !part.empty();
    });
}

// setpathz, setbasenamez, setextensionz (null-terminated text).
void setFromText(const Self &self, oops_site &setter, Bytes value) {
    const Temporary part(send<Ref>(SITE("withvalue"), CLASS("chararry"), value));
    if (part) sendSelf(setter, self, part.ref());
}
void setPathZ(Self self, Bytes value) { setFromText(self, SITE("setpath"), value); }
void setBaseNameZ(Self self, Bytes value) { setFromText(self, SITE("setbasename"), value); }
void setExtensionZ(Self self, Bytes value) { setFromText(self, SITE("setextension"), value); }

// appenddir (directory). An empty one changes nothing: a lone separator would be the root.
Answer<void> appendDir(Self self, Ref directory) {
    return changeBy(self, directory, [](Draft &draft, std::string_view part) {
        if (part.empty()) return;
        draft.path.append(draft.parts.path).append(part) += host::insertedSeparator;
        draft.parts.path = draft.path;
    });
}

// ---- What the directory says ------------------------------------------------------------------------------------

enum class Separator { kept, dropped };

host::FileStatus statusOf(const Self &self, Separator last) {
    const auto name = self->name;
    if (!name || self->isCut) return {};
    const Operand value(name);
    auto characters = value.bytes();
    if (last == Separator::dropped && characters.size() > 1 &&
        (characters.ends_with('\\') || characters.ends_with('/')))
        characters.remove_suffix(1);
    return host::lookUpFile(characters);
}

// exists () -> flag. sizeoffile () -> count; 0 when there is none, at most 0xFFFFFFFF.
bool exists(Self self) { return statusOf(self, Separator::kept).found; }
Count sizeOfFile(Self self) { return statusOf(self, Separator::kept).size; }

// isdirectory, ishidden, isreadonly, issystemfile () -> flag. False when there is no such file; none is the system's.
bool isDirectory(Self self) { return statusOf(self, Separator::dropped).isDirectory; }
bool isHidden(Self self) { return statusOf(self, Separator::dropped).isHidden; }
bool isReadOnly(Self self) { return statusOf(self, Separator::dropped).isReadOnly; }
bool isSystemFile(Self) { return false; }

// ---- As a text --------------------------------------------------------------------------------------------------

// asexternalfilename () -> text. In double quotes.
Answer<Ref> asExternalFileName(Self self) {
    const Characters name(self->name);
    if (name.failure) return name.failure;
    return name.given ? newText('"' + name.bytes + '"') : null;
}

// copy () -> file name. Made of the characters; of the name itself where these, as a text, would give another name.
Answer<Ref> copy(Self self) {
    const Characters name(self->name);
    if (name.failure) return name.failure;
    if (self->isCut || !host::isInternalFileName(name.bytes))
        return send<Ref>(SITE("withname"), self.classObject(), self.ref());
    return send<Ref>(SITE("withvalue"), self.classObject(), Bytes{name.bytes.c_str()});
}

// finalize () -> null. With the texts it owns.
Ref finalize(Self self) {
    replace(self, &Fields::name, null);
    replace(self, &Fields::searchPath, null);
    return sendSuper<Ref>(SUPER("finalize"), self);
}

// What follows is the name's to answer.
Ref description(Self self) { return send<Ref>(SITE("description"), self->name); }
Address getAddress(Self self) { return send<Address>(SITE("getaddress"), self->name); }
Count size(Self self) { return send<Count>(SITE("size"), self->name); }
Count sizeInBytes(Self self) { return send<Count>(SITE("sizeinbytes"), self->name); }
void getValue(Self self, Returning value) { send(SITE("getvalue"), self->name, value); }
void asParameter(Self self, Returning value) { send(SITE("asparameter"), self->name, value); }
bool containsCharacters(Self self) { return send<bool>(SITE("containscharacters"), self->name); }
bool containsDoubleByteCharacters(Self self) { return send<bool>(SITE("containsdbcscharacters"), self->name); }
bool equal(Self self, Ref other) { return send<bool>(SITE("equal"), self->name, other); }
bool equalsIgnoreCase(Self self, Ref other) {
    const auto *fields = fieldsOf<Fields>(other); // which does not change its case itself
    return send<bool>(SITE("equalsignorecase"), self->name, fields != nullptr ? fields->name : other);
}

// asinternalfilename () -> text. A copy of the name.
Ref asInternalFileName(Self self) { return send<Ref>(SITE("copy"), self->name); }

constexpr std::array methods{
    onClass<withName>("withname"),
    onClass<withValue>("withvalue"),
    onClass<withLengthValue>("withlengthvalue"),
    onClass<withBufferLengthValue>("withbufferlengthvalue"),
    onClass<files::findFirst>("findfirst"),
    onClass<files::expandWildcards>("expandwildcards"),
    instance<initialize>("initialize"),
    instance<path>("path"),
    instance<baseName>("basename"),
    instance<extension>("extension"),
    instance<fileNameWithoutDir>("filenamewithoutdir"),
    instance<fullFileName>("fullfilename"),
    instance<setPath>("setpath"),
    instance<setBaseName>("setbasename"),
    instance<setExtension>("setextension"),
    instance<setPathZ>("setpathz"),
    instance<setBaseNameZ>("setbasenamez"),
    instance<setExtensionZ>("setextensionz"),
    instance<appendDir>("appenddir"),
    instance<exists>("exists"),
    instance<sizeOfFile>("sizeoffile"),
    instance<isDirectory>("isdirectory"),
    instance<isHidden>("ishidden"),
    instance<isReadOnly>("isreadonly"),
    instance<isSystemFile>("issystemfile"),
    instance<files::findNext>("findnext"),
    instance<setSearchHandle>("setsearchhandle"),
    instance<setSearchPath>("setsearchpath"),
    instance<asExternalFileName>("asexternalfilename"),
    instance<copy>("copy"),
    instance<finalize>("finalize"),
    instance<description>("description"),
    instance<getAddress>("getaddress"),
    instance<size>("size"),
    instance<sizeInBytes>("sizeinbytes"),
    instance<getValue>("getvalue"),
    instance<asParameter>("asparameter"),
    instance<containsCharacters>("containscharacters"),
    instance<containsDoubleByteCharacters>("containsdbcscharacters"),
    instance<equal>("equal"),
    instance<equalsIgnoreCase>("equalsignorecase"),
    instance<asParameter>("getvaluez"),
    instance<asInternalFileName>("asinternalfilename"),
};

constexpr ClassDef definition{
    .program = program, .name = "filename", .super = "base", .instanceData = fields<Fields, 25>(), .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
