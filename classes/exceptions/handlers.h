// What the exception manager knows of an object.
#pragma once

#include "runtime/types.h"

namespace oocobol {

// Whether a handler is registered for this very object.
bool hasOwnHandler(Ref object);

} // namespace oocobol
