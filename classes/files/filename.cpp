// File name: one name of a file, its parts, and what the directory says of it.
//
// Declared with its data; its methods are not written yet.
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "filename";

struct [[gnu::packed]] Fields {
    Ref name; // owned
    std::uint16_t searchHandle;
    Ref searchPath; // owned
    Flag hasExtension;
};

constexpr ClassDef definition{
    .program = program, .name = "filename", .super = "base", .instanceData = fields<Fields, 25>()};
const Registered registered(definition);

} // namespace
} // namespace oocobol
