// Sends: from a receiver and a name to the code that runs.
//
// A send site remembers the cell of its last receiver's behaviour. The fast road is one bound, one 64-bit comparison
// that covers liveness and behaviour, the argument count and the stack limit; everything else is the slow road's.
// Sites may be shared by threads: they hold a cell number, and cells live for ever.
#pragma once

#include <string_view>

#include "oocobol/oocobol.h"
#include "runtime/behaviours.h"
#include "runtime/types.h"

namespace oocobol {

// ---- The four sends. `arguments` holds `count` addresses (1 to 16), the returning item's first. -------------------

// Receiver and list stand where the method takes them: nothing is moved on the way.
void send(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept;
// To the receiver of the running method; `body` is its data, which is all that a static self has.
void sendToSelf(oops_site &site, Ref self, void *body, void *const *arguments, std::uint32_t count) noexcept;
// Lookup starts above the class named in the site.
void sendToSuper(oops_super_site &site, Ref self, void *body, void *const *arguments, std::uint32_t count) noexcept;
// Runs an instance method of a class over bare data.
void sendStatic(oops_site &site, Ref classObject, void *data, void *const *arguments, std::uint32_t count) noexcept;

// With the name in data. The cache words may be null; whatever they hold is checked.
void sendByName(Ref receiver, const char *name, void *secondCacheWord, void *cacheWord, void *const *arguments,
                std::uint32_t count) noexcept;
// With the name at an address that stays the same for the same sends, as a literal's does: remembered per thread.
// `length` bounds the name; 0 when only its terminator does.
void sendByLiteral(Ref receiver, const char *name, std::size_t length, void *const *arguments,
                   std::uint32_t count) noexcept;

// ---- What cells may hold besides a library method ---------------------------------------------------------------

inline constexpr std::uint32_t notUnderstoodParameters = 8; // the returning item and the seven that are forwarded

// Runs code registered from outside: one entry for each number of parameters of C code, one for all COBOL code.
MethodEntry entryForOutside(std::uint32_t parameters, bool cobol) noexcept;
// Notes the message and sends `doesnotunderstand` to the receiver.
void notUnderstood(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept;

// The data that the innermost static send with this marked self runs over; null when there is none.
void *staticDataOf(Ref self) noexcept;

// The name of the last message that the object did not understand on this thread; empty when there was none.
std::string_view lastNotUnderstood(Ref object) noexcept;

// ---- Errors that have no method to come from ----------------------------------------------------------------------

// Raises a numbered error on an object (null: on the null object), with a text as insert; nothing is answered.
void raiseOn(Ref object, Count error, std::string_view insert) noexcept;

// ---- Tracing -----------------------------------------------------------------------------------------------------

inline constexpr std::uint32_t traceSends = 1;
inline constexpr std::uint32_t traceSignals = 0x10000;
std::uint32_t traceLevel() noexcept;
void setTraceLevel(std::uint32_t level) noexcept;
// Writes a line at every level but 0.
void traceText(std::string_view text) noexcept;

} // namespace oocobol
