#include "python/core/errors.h"

#include <exception>
#include <string>

#include "formats/findings.h"
#include "formats/hints.h"
#include "formats/sink.h"
#include "tools/operations/fatal_error.h"

namespace quillon::python {
namespace {

namespace py = pybind11;

// Bytes of a file need not be UTF-8.
py::str text_of(const std::string& bytes) {
  PyObject* const text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()), "replace");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

py::object errors() { return py::module_::import("quillon._errors"); }

constexpr formats::Advice kAdvice[] = {
    {formats::kMayBeMetis, " format='metis' reads those"},
    {formats::kLikeMetis, "; format='metis' reads it as one"},
    {formats::kNameTheFormat, " by the argument format"},
};

py::str words_of(const std::string& bytes) { return text_of(advised(bytes)); }

py::object number_of(std::size_t number) { return number == 0 ? py::object(py::none()) : py::int_(number); }

void raise(const char* name, const py::tuple& arguments) {
  const py::object type = errors().attr(name);
  PyErr_SetObject(type.ptr(), arguments.ptr());
}

void raise_bad_file(const formats::Finding& finding) {
  raise("BadFile",
        py::make_tuple(text_of(finding.rule), text_of(finding.file), number_of(finding.line),
                       number_of(finding.column), words_of(finding.message), words_of(finding.hint)));
}

std::exception_ptr cause_of(const std::exception& error) {
  const auto* const nested = dynamic_cast<const std::nested_exception*>(&error);
  return nested == nullptr ? nullptr : nested->nested_ptr();
}

// The first cause of an error, such as that of a file that is not written; else the error itself.
void raise_cause(const std::exception& error) {
  std::string text = error.what();
  for (std::exception_ptr cause = cause_of(error); cause != nullptr;) {
    try {
      std::rethrow_exception(cause);
    } catch (const std::exception& inner) {
      text = inner.what();
      cause = cause_of(inner);
    }
  }
  raise("Error", py::make_tuple(text_of(text)));
}

void translate(std::exception_ptr pointer) {
  try {
    if (pointer != nullptr) std::rethrow_exception(pointer);
  } catch (const formats::BadFile& error) {
    raise_bad_file(error.finding());
  } catch (const formats::NotWritten& error) {
    raise_cause(error);
  } catch (const tool::FatalError& error) {
    raise_cause(error);
  }
}

}  // namespace

std::string advised(std::string_view text) { return formats::advised(text, kAdvice); }

void register_errors() { py::register_local_exception_translator(translate); }

py::object finding_object(const formats::Finding& finding) {
  static constexpr const char* kSeverities[] = {"error", "warning", "note"};
  return errors().attr("Finding")(text_of(finding.rule), kSeverities[static_cast<int>(finding.severity)],
                                  text_of(finding.file), number_of(finding.line), number_of(finding.column),
                                  words_of(finding.message), words_of(finding.hint));
}

}  // namespace quillon::python
