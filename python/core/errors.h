#pragma once
// Errors of the module and of its libraries as the exceptions of the package.

#include <pybind11/pybind11.h>

#include "formats/findings.h"

namespace quillon::python {

/// Translates what functions of the extension throw.
void register_errors();

/// A finding as the package shows it.
pybind11::object finding_object(const formats::Finding& finding);

}  // namespace quillon::python
