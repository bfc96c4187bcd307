// Registration records: the form in which class programs from outside declare their classes.
#pragma once

#include "runtime/classes.h"

namespace oocobol {

// Reads a record; false when its counts or names cannot be right. Nothing beyond what the counts claim is read.
bool readRecord(const void *record, Registration &request) noexcept;

} // namespace oocobol
