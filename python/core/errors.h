#pragma once
// Errors of the module and of its libraries as the exceptions of the package.

#include <pybind11/pybind11.h>

#include <string>
#include <string_view>

#include "formats/findings.h"

namespace quillon::python {

/// Translates what functions of the extension throw.
void register_errors();

/// A hint or remark of the formats library, followed by the argument that it calls for, if there is one.
std::string advised(std::string_view text);

/// A finding as the package shows it.
pybind11::object finding_object(const formats::Finding& finding);

}  // namespace quillon::python
