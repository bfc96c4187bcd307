// How a class's own `finalize` hands on to that of the root class.
#pragma once

#include "runtime/sends.h"

namespace oocobol {

// What sendSuper<Ref>(SUPER("finalize"), self) does, for a class whose superclass is `above`, where no class of the
// library from there to the root redefines `finalize`. Without a message as long as no other has done so.
Ref finalizeAtRoot(const Receiver &self, oops_super_site &finalize, const ClassFamily &above) noexcept;

} // namespace oocobol
