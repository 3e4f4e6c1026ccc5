#pragma once
// Texts and paths between Python and Qt.

#include <pybind11/pybind11.h>

#include <QtCore/QString>

namespace KvMathPython {

/// A path from str, bytes or os.PathLike.
struct Path {
    QString text;  ///< as the library takes it
};

/// A name of C++ in Python: "minLineLength" becomes "min_line_length".
QString snakeCase(const QString& name);

}  // namespace KvMathPython

namespace pybind11::detail {

template <>
struct type_caster<QString> {
    PYBIND11_TYPE_CASTER(QString, const_name("str"));
    /// False for anything but str. Lone surrogates are refused with UnicodeEncodeError.
    bool load(handle source, bool /*convert*/) {
        if (!source || !PyUnicode_Check(source.ptr()))
            return false;
        Py_ssize_t size = 0;
        const char* const bytes = PyUnicode_AsUTF8AndSize(source.ptr(), &size);
        if (bytes == nullptr)
            throw error_already_set();
        value = QString::fromUtf8(bytes, static_cast<int>(size));
        return true;
    }
    /// A str.
    static handle cast(const QString& text, return_value_policy /*policy*/, handle /*parent*/) {
        const QByteArray bytes = text.toUtf8();
        return PyUnicode_DecodeUTF8(bytes.constData(), bytes.size(), "replace");
    }
};

template <>
struct type_caster<KvMathPython::Path> {
    PYBIND11_TYPE_CASTER(KvMathPython::Path, const_name("str | os.PathLike"));
    /// False for what is no path.
    bool load(handle source, bool /*convert*/) {
        const auto path = reinterpret_steal<object>(PyOS_FSPath(source.ptr()));
        if (!path) {
            PyErr_Clear();
            return false;
        }
        if (PyBytes_Check(path.ptr())) {
            value.text = QString::fromLocal8Bit(PyBytes_AsString(path.ptr()));
            return true;
        }
        value.text = path.cast<QString>();
        return true;
    }
};

}  // namespace pybind11::detail
