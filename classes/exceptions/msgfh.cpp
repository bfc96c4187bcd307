// Message file handler: one message file, and the numbered texts in it.
//
// The three fields own their texts. A message that cannot be read is an empty text, never an error.
#include "classes/text/text_values.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "msgfh";

struct [[gnu::packed]] Fields {
    Ref library;   // where the file is looked for; usually empty
    Ref fileName;  // without its extension, path included
    Ref extension; // empty when there is none
};
using Self = Instance<Fields>;
using ClassSelf = Receiver;

constexpr std::size_t mostInserts = 6;
constexpr std::size_t longestInsert = 2048;

// The handler keeps `made` in the field and ends what the field held.
void replace(const Self &self, Ref Fields::*field, Ref made) {
    const auto held = (*self).*field;
    (*self).*field = made;
    if (held) send<Ref>(SITE("finalize"), held);
}

// ---- Names ------------------------------------------------------------------------------------------------------

// What a text object names: programs fill their items with spaces.
std::string nameIn(Ref text) {
    auto name = textOf(text);
    name.erase(name.find_last_not_of(' ') + 1);
    return name;
}

// setlanguagefilename (name). Split at the extension's period. What is no object ends in invalidparameter.
Answer<void> setLanguageFileName(Self self, Ref name) {
    if (!isLive(name)) return pass(SITE("invalidparameter"));
    const auto text = nameIn(name);
    const auto [path, base, extension] = host::splitFileName(text, host::hasExtension(text));
    replace(self, &Fields::fileName, newText(std::string_view(text).substr(0, path.size() + base.size())));
    replace(self, &Fields::extension, newText(extension));
    return {};
}

// getlanguagefilename () -> character array. Joined again.
Ref getLanguageFileName(Self self) {
    auto joined = textOf(self->fileName);
    const auto extension = textOf(self->extension);
    if (!extension.empty()) joined += '.' + extension;
    return newText(joined);
}

// setlanguagelibrary (name). Keeps a copy; what cannot be copied changes nothing.
void setLanguageLibrary(Self self, Ref name) {
    if (const auto copy = send<Ref>(SITE("copy"), name)) replace(self, &Fields::library, copy);
}
// getlanguagelibrary () -> character array, a copy.
Ref getLanguageLibrary(Self self) { return send<Ref>(SITE("copy"), self->library); }

Ref textFrom(Bytes value) { return send<Ref>(SITE("withvalue"), CLASS("chararry"), value); }

// setlanguagefilenamez, setlanguagelibraryz (null-terminated text).
void setLanguageFileNameZ(Self self, Bytes name) {
    const Temporary text(textFrom(name));
    sendSelf(SITE("setlanguagefilename"), self, text.ref());
}
void setLanguageLibraryZ(Self self, Bytes name) {
    const Temporary text(textFrom(name));
    sendSelf(SITE("setlanguagelibrary"), self, text.ref());
}

// ---- Creation ---------------------------------------------------------------------------------------------------

// registermessagefile (library, file name) -> handler.
Ref registerMessageFile(ClassSelf self, Ref library, Ref file) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (!made) return null;
    send(SITE("setlanguagelibrary"), made, library);
    send(SITE("setlanguagefilename"), made, file);
    return made;
}

// registermessagefilez (library, file name, both null-terminated) -> handler.
Ref registerMessageFileZ(ClassSelf self, Bytes library, Bytes file) {
    const Temporary libraryText(textFrom(library));
    const Temporary fileText(textFrom(file));
    return sendSelf<Ref>(SITE("registermessagefile"), self, libraryText.ref(), fileText.ref());
}

// ---- Messages ---------------------------------------------------------------------------------------------------

// getmessage (set, number, up to 6 inserts) -> character array, empty when there is no such message.
Ref getMessage(Self self, Index set, Index number, Optional<Ref> a, Optional<Ref> b, Optional<Ref> c, Optional<Ref> d,
               Optional<Ref> e, Optional<Ref> f) {
    std::string inserts[mostInserts];
    std::string_view views[mostInserts];
    std::size_t count = 0;
    for (const auto &insert : {a, b, c, d, e, f}) {
        if (!insert) break;
        inserts[count] = textOf(*insert, longestInsert);
        views[count] = inserts[count];
        ++count;
    }
    const auto library = nameIn(self->library);
    const auto file = nameIn(self->fileName);
    const auto extension = nameIn(self->extension);
    std::string text;
    if (set >= 0 && number >= 0) {
        const host::MessageRequest request{.library = library,
                                           .file = file,
                                           .extension = extension,
                                           .set = static_cast<unsigned>(set),
                                           .number = static_cast<unsigned>(number),
                                           .inserts = {views, count}};
        host::readMessage(request, &text);
    }
    return newText(text);
}

// finalize () -> null. With the texts it owns.
Ref finalize(Self self) {
    for (const auto field : {&Fields::library, &Fields::fileName, &Fields::extension}) replace(self, field, null);
    return sendSuper<Ref>(SUPER("finalize"), self);
}

constexpr std::array methods{
    onClass<registerMessageFile>("registermessagefile"),
    onClass<registerMessageFileZ>("registermessagefilez"),
    instance<setLanguageFileName>("setlanguagefilename"),
    instance<setLanguageFileNameZ>("setlanguagefilenamez"),
    instance<getLanguageFileName>("getlanguagefilename"),
    instance<setLanguageLibrary>("setlanguagelibrary"),
    instance<setLanguageLibraryZ>("setlanguagelibraryz"),
    instance<getLanguageLibrary>("getlanguagelibrary"),
    instance<getMessage>("getmessage"),
    instance<finalize>("finalize"),
};

constexpr ClassDef definition{.program = program,
                              .name = "messagefilehandler",
                              .super = "base",
                              .instanceData = fields<Fields, 24>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
