#include "python/core/errors.h"

#include "python/core/text.h"

#include <chrono>
#include <memory>

namespace KvMathPython {

namespace {

constexpr const char* kErrorText =
    "What kvmath refuses: input that cannot be read, a parameter out of its range, an output that cannot be\n"
    "written. The text says what, where and what to do.\n\n"
    "file       name of the file, or None\n"
    "line       number of the line in it, from 1, or None\n"
    "offset     place in it, bytes, or None\n"
    "parameter  name of the parameter, or None\n"
    "cancelled  True where a progress function ended the work\n";

/// The class lives as long as the interpreter.
PyObject* errorClass = nullptr;

void raise(const KvMeasure::Error& error) {
    if (error.isCancelled() && PyErr_Occurred() != nullptr)
        return;  // by a signal, whose exception is set
    const auto cls = py::reinterpret_borrow<py::object>(errorClass);
    py::object raised = cls(error.text(snakeCase));
    if (!error.file().isEmpty())
        raised.attr("file") = error.file();
    if (error.line() > 0)
        raised.attr("line") = error.line();
    if (error.offset() >= 0)
        raised.attr("offset") = error.offset();
    if (!error.parameter().isEmpty())
        raised.attr("parameter") = snakeCase(error.parameter());
    raised.attr("cancelled") = error.isCancelled();
    PyErr_SetObject(errorClass, raised.ptr());
}

}  // namespace

QString snakeCase(const QString& name) {
    QString snake;
    for (const QChar letter : name) {
        if (letter.isUpper() && !snake.isEmpty())
            snake += '_';
        snake += letter.toLower();
    }
    return snake;
}

void bindErrors(py::module_& module) {
    py::dict members;
    for (const char* name : {"file", "line", "offset", "parameter"})
        members[name] = py::none();
    members["cancelled"] = false;
    errorClass = PyErr_NewExceptionWithDoc("kvmath.Error", kErrorText, PyExc_Exception, members.ptr());
    if (errorClass == nullptr)
        throw py::error_already_set();
    module.attr("Error") = py::handle(errorClass);
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown)
                std::rethrow_exception(thrown);
        } catch (const KvMeasure::Error& error) {
            raise(error);
        }
    });
}

KvMeasure::Error argumentError(const char* parameter, const QString& text) {
    return KvMeasure::Error(QChar(1) + QString::fromLatin1(parameter) + QChar(2) + ": " + text);
}

void throwTypeError(const char* parameter, const QString& text) {
    throw py::type_error((QString::fromLatin1(parameter) + ": " + text).toStdString());
}

KvMeasure::Progress untilInterrupted() {
    using Clock = std::chrono::steady_clock;
    constexpr auto kPause = std::chrono::milliseconds(50);
    const auto next = std::make_shared<Clock::time_point>(Clock::now() + kPause);
    return [next, kPause](const QString& /*what*/, qint64 /*done*/, qint64 /*total*/) {
        const auto now = Clock::now();
        if (now < *next)
            return true;
        *next = now + kPause;
        const py::gil_scoped_acquire lock;
        return PyErr_CheckSignals() == 0;
    };
}

void throwIfInterrupted() {
    if (PyErr_CheckSignals() != 0)
        throw py::error_already_set();
}

}  // namespace KvMathPython
