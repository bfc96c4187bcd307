// Whole collections appended and stored at once, where sending each element would do the same.
#pragma once

#include "classes/collections/collection.h"

namespace oocobol {

// Appends the elements of a sequenced source to a dynamic collection of the same template, as `do` on the source with
// a callback on `add` would: same slots, same growth, same errors. False, and nothing done, where a message on the way
// is not the library's own or the source has no order.
bool appendNatively(const Receiver &receiver, Ref source) noexcept;
// Appends an object to an ordered collection of references, as `add` would, where there is room behind the last. False,
// and nothing done, where there is none or a message on the way is not the library's own.
bool appendReference(Ref list, Ref object) noexcept;

// Stores the elements of a sequenced source in the slots 1, 2, ... of a new array, as `withall` would. False, and
// nothing done, as above.
bool fillNatively(Ref made, Ref source) noexcept;

} // namespace oocobol
