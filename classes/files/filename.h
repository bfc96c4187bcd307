// What the modules of the file name share: its fields, and the searches, which are in a module of their own.
#pragma once

#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] FileNameFields {
    Ref name; // owned
    std::uint16_t searchHandle;
    Ref searchPath; // owned
    Flag hasExtension;
    Flag isCut; // a longer name was given: what this one names is another file, so it is never looked up
};

namespace files {

using ClassSelf = Receiver;
using Self = Instance<FileNameFields>;

// Whether something is lost when a file name is made of this object: more than a text can give.
bool isCutByConversion(Ref given) noexcept;

// findfirst (pattern) -> file name, null when nothing fits. `findnext` of each goes on.
Answer<Ref> findFirst(const ClassSelf &self, Ref pattern);
// findnext () -> file name, null at the end of the search.
Answer<Ref> findNext(const Self &self);
// expandwildcards (pattern) -> ordered collection of file names. Null when memory is short.
Answer<Ref> expandWildcards(const ClassSelf &self, Ref pattern);

} // namespace files
} // namespace oocobol
