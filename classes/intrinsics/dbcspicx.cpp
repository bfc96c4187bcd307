// Double-byte PIC X: an item of a number of characters, each of one or two bytes.
//
// Declared with its data; its methods are not written yet.
#include "classes/intrinsics/intrinsic.h"

namespace oocobol {
namespace {

constexpr char program[] = "dbcspicx";

constexpr ClassDef definition{.program = program,
                              .name = "dbcspicx",
                              .super = "picx",
                              .classData = fields<DoubleByteClassData, 12>(),
                              .instanceData = inheritedFields(1)};
const Registered registered(definition);

} // namespace
} // namespace oocobol
