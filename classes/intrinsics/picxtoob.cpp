// PIC X to object: from a name of 32 characters to an object.
#include "classes/intrinsics/association.h"

namespace oocobol {
namespace {

constexpr char program[] = "picxtoob";

void initializeClass(ClassSide<AssociationClassData> self) {
    sendSuper(SUPER("initializeclass"), self);
    setTypes(self, CLASS("picx32"), null);
}

constexpr std::array methods{onClass<initializeClass>("initializeclass")};

constexpr ClassDef definition{.program = program,
                              .name = "picxtoobject",
                              .super = "associtn",
                              .classData = inheritedFields(associationClassDataSize),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
