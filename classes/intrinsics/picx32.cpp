// PIC X(32): the keys of the system dictionary.
#include "classes/intrinsics/intrinsic.h"

namespace oocobol {
namespace {

constexpr char program[] = "picx32";
constexpr Count keyLength = 32;

void initializeClass(ClassSide<IntrinsicClassData> self) {
    sendSuper(SUPER("initializeclass"), self);
    self->length = keyLength;
}

constexpr std::array methods{onClass<initializeClass>("initializeclass")};

constexpr ClassDef definition{.program = program,
                              .name = "cobolpicx32",
                              .super = "picx",
                              .classData = inheritedFields(intrinsicClassDataSize),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
