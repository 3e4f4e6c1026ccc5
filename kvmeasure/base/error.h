#pragma once
// The one type that the library throws.

#include <kvmeasure/base/global.h>

#include <QtCore/QString>

#include <functional>
#include <stdexcept>

namespace KvMeasure {

/// How a host calls a parameter, e.g. "--unit" for "units". It is given the name that the headers use.
using ParameterName = std::function<QString(const QString& parameter)>;

/// A text of the library, in which names of parameters stand between the characters 1 and 2 ("\1units\2"), as
/// a host shows it: by the names that it gives them, without `name` by those of the headers. A
/// text without such names stays as it is.
KVMEASURE_EXPORT QString withParameters(const QString& text, const ParameterName& name = {});

/// A name of a user in such a text: what would mark a parameter in it is shown as "\u0001" and "\u0002".
KVMEASURE_EXPORT QString withoutMarks(const QString& name);

/// Input that cannot be read, a parameter out of its range, an output that cannot be written, or work that
/// was cancelled. The text says what, where and what to do. Nothing half-written is left.
///
///     try {
///         plan = readPlan(path);
///     } catch (const Error& error) {
///         showToUser(error.text(), error.file(), error.line());
///     }
class KVMEASURE_EXPORT Error : public std::runtime_error {
public:
    /// The first marked parameter of the text, see withParameters(), is parameter().
    explicit Error(const QString& text);
    ~Error() override;  ///< out of line: hosts catch the type of the library

    Error& inFile(const QString& path);  ///< sets file(); what looks like a parameter in its name is none
    Error& atLine(qint64 line);          ///< sets line()
    Error& atOffset(qint64 offset);      ///< sets offset()
    Error& asCancelled();                ///< sets isCancelled()

    /// The same error, its text with this place and a colon in front, unless it begins with them.
    Error at(const QString& place) const;
    /// The same error with another name of its file, wherever the text has it. From nothing: the same.
    Error renamed(const QString& from, const QString& to) const;

    /// The whole text, the place in it. what() is the same in UTF-8, without names of a host.
    QString text(const ParameterName& name = {}) const { return withParameters(text_, name); }
    QString file() const { return file_; }             ///< empty: of no file
    qint64 line() const { return line_; }              ///< from 1; 0: not known
    qint64 offset() const { return offset_; }          ///< in bytes; -1: not known
    QString parameter() const { return parameter_; }   ///< as the headers call it; empty: none
    bool isCancelled() const { return isCancelled_; }  ///< a Progress returned false

private:
    Error withText(const QString& text) const;

    QString text_, file_, parameter_;
    qint64 line_ = 0, offset_ = -1;
    bool isCancelled_ = false;
};

}  // namespace KvMeasure
