// Storage that stands behind more than one collection, as it does after `basiccopy` or `copycontents` of one: it lives
// as long as one of them does. A collection that grows leaves it to the others.
#pragma once

#include <cstddef>

namespace oocobol {

// One more collection has the storage. False when there is no memory to note that.
bool shareStorage(std::byte *storage) noexcept;
// A collection gives the storage up: true when others still have it, so that it must not be released.
bool leaveToOthers(std::byte *storage) noexcept;
bool isShared(std::byte *storage) noexcept;

} // namespace oocobol
