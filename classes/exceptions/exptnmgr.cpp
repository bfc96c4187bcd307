// Exception manager: which handler deals with a numbered error, and what text the error has.
//
// A handler is any callback of three arguments: who raised, the number, the inserts. The one registered for the object
// comes first, then the one for its class; while that one runs (a handler that raises is busy), and without one, the
// first system handler that is free. All state is class data; one lock, which admits its owner again, keeps other
// threads out while an exception is dealt with.
#include "classes/exceptions/handlers.h"
#include "classes/exceptions/message_text.h"
#include "classes/text/text_algorithms.h"
#include "classes/text/text_values.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "exptnmgr";

struct [[gnu::packed]] ClassData {
    Ref firstDefault; // callback on defaulthandler, the last of the system handlers
    Ref registry;     // identity dictionary: object or class to its handler
    Ref lastResort;   // a second callback on defaulthandler, for when all others are busy
    Flag raisedStatic;
    Ref messageStrings; // dictionary: number to text; null until the first
    Ref messageFiles;   // dictionary: facility and file name to number; null until the first
    Ref systemHandlers; // ordered collection, most recent first
};
using ClassSelf = ClassSide<ClassData>;

// The lock for the whole class. Acquiring it lets other threads run COBOL code meanwhile.
class Hold {
public:
    Hold() { host::acquireMutex(mutex()); }
    ~Hold() { host::releaseMutex(mutex()); }
    Hold(const Hold &) = delete;
    Hold &operator=(const Hold &) = delete;

private:
    static host::MutexHandle mutex() {
        static const auto handle = host::openMutex(host::MutexKind::manager);
        return handle;
    }
};

Ref kept(Ref made) {
    keepForLibrary(made);
    return made;
}

// ---- Start ------------------------------------------------------------------------------------------------------

Ref newDefaultCallback(const ClassSelf &self) {
    return kept(send<Ref>(SITE("new"), CLASS("callback"), self.ref(), Bytes{"DefaultHandler"}));
}

// initializeclass (). Once: the tables stay.
void initializeClass(ClassSelf self) {
    constexpr Index capacity = 10;
    sendSuper(SUPER("initializeclass"), self);
    if (self->systemHandlers) return;
    const auto first = newDefaultCallback(self);
    const auto last = newDefaultCallback(self);
    const auto registry = kept(send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("associtn"), capacity));
    const auto handlers = kept(send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), capacity));
    self->firstDefault = first;
    self->lastResort = last;
    self->registry = registry;
    self->systemHandlers = handlers;
    send(SITE("add"), handlers, first);
}

// ---- Handlers ---------------------------------------------------------------------------------------------------

// A handler must say whether it is busy, and run.
bool isHandler(Ref object) { return methodFor(object, "active") != nullptr && methodFor(object, "invoke") != nullptr; }

bool isFree(Ref handler) { return isLive(handler) && !send<bool>(SITE("active"), handler); }

// The handler registered for the object, else for its class; null without one. One that has been finalized since does
// not count. The class is only compared: one that the library made for one item does not count as handed out.
Ref registeredFor(const ClassSelf &self, Ref object) {
    if (!self->registry || (object && !isLive(object))) return null;
    const auto own = send<Ref>(SITE("atornil"), self->registry, object);
    if (own) return own;
    const auto *asked = methodFor(object, "class");
    const auto isOurs = asked != nullptr && asked->library;
    const auto ofClass = isOurs ? peekClass(object) : send<Ref>(SITE("class"), object);
    return send<Ref>(SITE("atornil"), self->registry, ofClass);
}

Ref firstFreeSystemHandler(const ClassSelf &self) {
    if (!self->systemHandlers) return self->lastResort; // there was no memory for the list
    const auto count = send<Count>(SITE("size"), self->systemHandlers);
    for (Index i = 1; i <= static_cast<Index>(count); ++i) {
        const auto handler = send<Ref>(SITE("at"), self->systemHandlers, i);
        if (isFree(handler)) return handler;
    }
    return self->lastResort;
}

// handler (object) -> callback.
Ref handler(ClassSelf self, Ref object) {
    const Hold hold;
    const auto registered = registeredFor(self, object);
    return isFree(registered) ? registered : firstFreeSystemHandler(self);
}

void handle(const ClassSelf &self, Returning answer, Ref object, Count error, Ref inserts, bool isStatic) {
    const Hold hold;
    const auto chosen = sendSelf<Ref>(SITE("handler"), self, object);
    self->raisedStatic = isStatic ? 1 : 0;
    if (isLive(chosen)) return send(SITE("invoke"), chosen, answer, object, error, inserts);
    sendSelf(SITE("defaulthandler"), self, object, error, inserts); // even the last resort has been finalized
}

// raise (object, number, inserts) -> the handler's answer. raisestatic (class, number, inserts) likewise.
void raiseFor(ClassSelf self, Returning answer, Ref object, Count error, Ref inserts) {
    handle(self, answer, object, error, inserts, false);
}
void raiseForClass(ClassSelf self, Returning answer, Ref object, Count error, Ref inserts) {
    handle(self, answer, object, error, inserts, true);
}

// raisedreference, raisedstatic () -> flag.
bool wasRaisedByObject(ClassSelf self) {
    const Hold hold;
    return self->raisedStatic == 0;
}
bool wasRaisedByClass(ClassSelf self) {
    const Hold hold;
    return self->raisedStatic != 0;
}

// register (object or class, callback). Replaces an earlier one. What is no handler ends in invalidparameter.
Answer<void> registerHandler(ClassSelf self, Ref object, Ref callback) {
    if (!isHandler(callback)) return pass(SITE("invalidparameter"));
    const Hold hold;
    send(SITE("atput"), self->registry, object, callback);
    watchObject(object);
    return {};
}

// cancel (object or class) -> flag. Whether there was one.
bool cancelHandler(ClassSelf self, Ref object) {
    const Hold hold;
    if (!send<bool>(SITE("includeskey"), self->registry, object)) return false;
    send(SITE("removekey"), self->registry, object);
    return true;
}

// getsystemhandler () -> callback. setsystemhandler (callback) -> the one that was first before; what is no handler
// ends in invalidparameter.
Ref getSystemHandler(ClassSelf self) {
    const Hold hold;
    return send<Ref>(SITE("at"), self->systemHandlers, Index{1});
}
Answer<Ref> setSystemHandler(ClassSelf self, Ref callback) {
    if (!isHandler(callback)) return pass(SITE("invalidparameter"));
    const Hold hold;
    const auto before = send<Ref>(SITE("at"), self->systemHandlers, Index{1});
    send(SITE("addfirst"), self->systemHandlers, callback);
    return before;
}

// ---- Message files and strings ------------------------------------------------------------------------------------

constexpr Count firstUserError = 10001;
constexpr Count firstStringNumber = 65537;
constexpr Count mostStrings = 65535;
constexpr Count mostFiles = 65534;
constexpr unsigned fileShift = 16; // a registered file's number is in the upper half of its errors
constexpr std::size_t facilityWidth = 6, facilityField = 7, fileWidth = 8, keyWidth = 16;

// Facility in bytes 1 to 7, file name in 8 to 16, space-filled.
void buildKey(char (&key)[keyWidth], Name facility, Name file) {
    std::memset(key, ' ', keyWidth);
    const auto facilityName = facility.view(facilityWidth);
    const auto fileName = file.view(fileWidth);
    std::memcpy(key, facilityName.data(), facilityName.size());
    std::memcpy(key + facilityField, fileName.data(), fileName.size());
}
Element asElement(const char (&key)[keyWidth]) { return {reinterpret_cast<const std::byte *>(key)}; }

Ref newDictionary(Ref keyTemplate, Ref dataTemplate, Index capacity) {
    return kept(send<Ref>(SITE("ofvaluesauto"), CLASS("dictinry"), keyTemplate, dataTemplate, capacity));
}

// registermessagefile (facility, file name) -> number. A file that is registered keeps its number. More than 65,534
// raise 39.
Answer<Count> registerMessageFile(ClassSelf self, Name facility, Name file) {
    constexpr Index capacity = 16;
    const Hold hold;
    char key[keyWidth];
    buildKey(key, facility, file);
    if (!self->messageFiles) {
        const auto keyTemplate = send<Ref>(SITE("newclass"), CLASS("picx"), Index{keyWidth});
        const auto files = newDictionary(keyTemplate, CLASS("comp5"), capacity);
        self->messageFiles = files;
    }
    if (send<bool>(SITE("includeskey"), self->messageFiles, asElement(key)))
        return send<Count>(SITE("at"), self->messageFiles, asElement(key));
    const auto registered = send<Count>(SITE("size"), self->messageFiles);
    if (registered >= mostFiles) return raise(Error::tooManyStrings);
    const auto number = (registered + 2) << fileShift;
    send(SITE("atput"), self->messageFiles, asElement(key), number);
    return number;
}

// querymessagefile (facility, file name) -> number, 0 when it is not registered.
Count queryMessageFile(ClassSelf self, Name facility, Name file) {
    const Hold hold;
    if (!self->messageFiles) return 0;
    char key[keyWidth];
    buildKey(key, facility, file);
    return send<Count>(SITE("atornil"), self->messageFiles, asElement(key));
}

// registermessagestring (text) -> number. Keeps a copy; what cannot be copied gets no number. More than 65,535
// raise 39.
Answer<Count> registerMessageString(ClassSelf self, Ref text) {
    constexpr Index capacity = 56;
    const Hold hold;
    if (!self->messageStrings) {
        const auto strings = newDictionary(CLASS("comp5"), null, capacity);
        self->messageStrings = strings;
    }
    const auto registered = send<Count>(SITE("size"), self->messageStrings);
    if (registered >= mostStrings) return raise(Error::tooManyStrings);
    const auto number = registered + firstStringNumber;
    const auto copy = kept(send<Ref>(SITE("copy"), text));
    if (!copy) return Count{0};
    send(SITE("atput"), self->messageStrings, number, copy);
    return number;
}

// Which file an error's text is in. Facilities and files name message files for the host.
struct FileName {
    std::string facility, file;
};

FileName registeredFile(const ClassSelf &self, Count error) {
    const FileName user{"user", "user"};
    if (!self->messageFiles) return user;
    char key[keyWidth] = {};
    const Count number = error >> fileShift << fileShift;
    const Temporary keys(send<Ref>(SITE("keys"), self->messageFiles));
    const Temporary listed(send<Ref>(SITE("asorderedcollection"), keys.ref()));
    const auto count = send<Count>(SITE("size"), listed.ref());
    for (Index i = 1; i <= static_cast<Index>(count); ++i) {
        send(SITE("at"), listed.ref(), Returning{{reinterpret_cast<std::byte *>(key)}}, i);
        if (send<Count>(SITE("atornil"), self->messageFiles, asElement(key)) == number)
            return {std::string(nameView(key, facilityWidth)), std::string(nameView(key + facilityField, fileWidth))};
    }
    return user;
}

FileName fileOf(const ClassSelf &self, Count error) {
    if (error < firstUserError) return {"", "oocobol"};
    return registeredFile(self, error);
}

// The lower 16 bits, less 10000 when they are above it.
unsigned messageNumber(Count error) {
    constexpr Count base = firstUserError - 1;
    const auto low = error & 0xFFFF;
    return low > base ? low - base : low;
}

// errormessage (number) -> character array, empty when there is no text.
Ref errorMessage(ClassSelf self, Count error) {
    constexpr std::size_t longest = 80;
    const Hold hold;
    if (error >= firstUserError && self->messageStrings) {
        const auto text = send<Ref>(SITE("atornil"), self->messageStrings, error);
        if (text) return send<Ref>(SITE("copy"), text);
    }
    const auto name = fileOf(self, error);
    host::MessageRequest request{.library = name.facility, .file = name.file, .extension = "lng"};
    request.number = messageNumber(error);
    std::string text;
    if (!host::readMessage(request, &text) && !name.facility.empty()) {
        request.library = {};
        host::readMessage(request, &text);
    }
    return newText(std::string_view(text).substr(0, longest));
}

// ---- The default handler ------------------------------------------------------------------------------------------

void displaySpaceLine() { host::displayLine(" "); }

bool isEmpty(Ref text) { return !text || send<Count>(SITE("size"), text) == 0; }

// A message that is missing is left out; answers whether it was there.
bool displayMessage(Ref messages, Index number, Ref first = null, Ref second = null) {
    const Temporary text(baseMessage(messages, number, first, second));
    if (isEmpty(text.ref())) return false;
    send(SITE("display"), text.ref());
    host::displayLine("");
    displaySpaceLine();
    return true;
}

// Without the texts the console stays empty, and the program waits for a key: not without a word.
void reportWithoutTexts(Count error) {
    host::report("oocobol: error " + std::to_string(error) +
                 " was raised. Its report is missing: no oocobol.lng was found. Check OOCOBOL_MESSAGE_PATH.\n");
}

// The run goes no further without a person to ask: a batch job must not pass for good.
[[noreturn]] void endWithoutKey() { host::endRunUnit(1); }

// Not one object can be made: nothing but the host's console is used.
[[noreturn]] void reportNoInstance() {
    host::displayLine("Exception 23 not trapped. instance not created");
    host::displayLine("Hit enter to terminate program.");
    if (host::acceptCharacter() == host::noKey) endWithoutKey();
    host::endRunUnit();
}

Ref decimalText(Count number) { return sendOver<Ref>(SITE("ascharacterarray"), CLASS("comp5"), &number); }

void displayInserts(Ref inserts) {
    const auto count = send<Count>(SITE("size"), inserts);
    for (Index i = 1; i <= static_cast<Index>(count); ++i) {
        const auto insert = send<Ref>(SITE("at"), inserts, i);
        send(SITE("display"), insert);
        host::displayLine("");
        displaySpaceLine();
    }
}

void reportError(const ClassSelf &self, Ref messages, Ref object, Count error, Ref inserts) {
    const Temporary number(decimalText(error));
    const Temporary description(send<Ref>(SITE("description"), object));
    if (!displayMessage(messages, 9, number.ref(), description.ref())) reportWithoutTexts(error);
    const Temporary text(sendSelf<Ref>(SITE("errormessage"), self, error));
    if (!isEmpty(text.ref())) {
        const Temporary trimmed(send<Ref>(SITE("trimblanks"), text.ref()));
        displayMessage(messages, 10, trimmed.ref());
    }
    if (inserts) displayInserts(inserts);
}

void reportNotUnderstood(Ref messages, Ref object) {
    constexpr std::uint64_t modulus = 100000000;
    const Temporary reference(newText(decimalDigits(object.bits % modulus, 8).view()));
    const Temporary description(send<Ref>(SITE("description"), object));
    if (!displayMessage(messages, 7, description.ref(), reference.ref()))
        reportWithoutTexts(static_cast<Count>(Error::notUnderstood));
    const Temporary name(send<Ref>(SITE("whatdidntiunderstand"), object));
    displayMessage(messages, 8, name.ref());
}

void reportOn(const ClassSelf &self, Ref object, Count error, Ref inserts) {
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    if (error == static_cast<Count>(Error::notUnderstood))
        reportNotUnderstood(messages.ref(), object);
    else
        reportError(self, messages.ref(), object, error, inserts);
    displayMessage(messages.ref(), 11);
}

// defaulthandler (object, number, inserts). Reports on the console and waits for a key: T ends the run unit, any other
// lets it go on; without a key to wait for the run ends, with return code 1 if it was 0.
void defaultHandler(ClassSelf self, Ref object, Count error, Ref inserts) {
    const Hold hold;
    displaySpaceLine();
    if (error == static_cast<Count>(Error::noInstance)) reportNoInstance();
    reportOn(self, isLive(object) ? object : null, error, inserts);
    const auto key = host::readKey();
    if (key == host::noKey) endWithoutKey();
    if (key == 'T' || key == 't') host::endRunUnit();
}

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<raiseFor>("raise"),
    onClass<raiseForClass>("raisestatic"),
    onClass<wasRaisedByObject>("raisedreference"),
    onClass<wasRaisedByClass>("raisedstatic"),
    onClass<handler>("handler"),
    onClass<registerHandler>("register"),
    onClass<cancelHandler>("cancel"),
    onClass<setSystemHandler>("setsystemhandler"),
    onClass<getSystemHandler>("getsystemhandler"),
    onClass<registerMessageFile>("registermessagefile"),
    onClass<queryMessageFile>("querymessagefile"),
    onClass<registerMessageString>("registermessagestring"),
    onClass<errorMessage>("errormessage"),
    onClass<defaultHandler>("defaulthandler"),
};

constexpr ClassDef definition{.program = program,
                              .name = "exceptionmanager",
                              .super = "dependnt",
                              .classData = fields<ClassData, 56>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace

bool hasOwnHandler(Ref object) {
    const Hold hold;
    const auto *data = classDataOf<ClassData>(CLASS("exptnmgr"));
    return data != nullptr && data->registry && send<bool>(SITE("includeskey"), data->registry, object);
}

} // namespace oocobol
