#pragma once
// kvmath.Error, and work that Ctrl-C ends.

#include <pybind11/pybind11.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/progress.h>

namespace KvMathPython {

namespace py = pybind11;

/// Adds kvmath.Error to the module, which every KvMeasure::Error becomes.
void bindErrors(py::module_& module);

/// The error of an argument: "points: needs an array of shape (n, 2), not (4,)", with the parameter named.
KvMeasure::Error argumentError(const char* parameter, const QString& text);

/// Raises TypeError with the name of the parameter in front.
[[noreturn]] void throwTypeError(const char* parameter, const QString& text);

/// A progress for work without the lock of Python: asks for signals twenty times a second, and cancels the
/// work where a handler raised, as that of Ctrl-C does.
KvMeasure::Progress untilInterrupted();

/// Where untilInterrupted's answer is taken outside of the library: raises what the handler raised.
void throwIfInterrupted();

}  // namespace KvMathPython
