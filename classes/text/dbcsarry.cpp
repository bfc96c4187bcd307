// Double-byte character array: text of single- and double-byte characters, counted by characters.
//
// Declared with its data; its methods are not written yet.
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "dbcsarry";

struct [[gnu::packed]] Fields {
    Count dataOffset; // from the fields' start to the text
    Count byteLength;
    Count characterLength;
    Flag quit;
};

constexpr ClassDef definition{.program = program,
                              .name = "dbcscharacterarray",
                              .super = "dependnt",
                              .instanceData = fields<Fields, 17>(),
                              .indexed = {true, sizeof(Fields)}};
const Registered registered(definition);

} // namespace
} // namespace oocobol
