// COMP-5 association: from a number of four bytes to an object.
#include "classes/intrinsics/association.h"

namespace oocobol {
namespace {

constexpr char program[] = "compasoc";

void initializeClass(ClassSide<AssociationClassData> self) {
    sendSuper(SUPER("initializeclass"), self);
    setTypes(self, CLASS("comp5"), null);
}

constexpr std::array methods{onClass<initializeClass>("initializeclass")};

constexpr ClassDef definition{.program = program,
                              .name = "cobolcomp5association",
                              .super = "associtn",
                              .classData = inheritedFields(associationClassDataSize),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
