// Dependent: what gives any object a list of dependents, which are told when it changes or is deleted.
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr ClassDef definition{.program = "dependnt", .name = "dependent", .super = "base"};
const Registered registered(definition);

} // namespace
} // namespace oocobol
