#pragma once
// Words and numbers in texts: read from what a user writes, and written for tables and messages.

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <kvmeasure/base/global.h>

namespace KvMeasure {

/// Words to choose from: "a, b or c", "a or b", "a"; empty for none.
KVMEASURE_EXPORT QString alternatives(const QStringList& words);

/// Reads a finite number in plain or exponent notation with a decimal point, with nothing but blanks around
/// it. False, `value` untouched, for anything else: no text, "nan", "inf", "1e999", "1,5".
KVMEASURE_EXPORT bool parseNumber(const QString& text, double& value);

/// What may stand after an angle: "deg" and the degree sign.
KVMEASURE_EXPORT QStringList degreeUnits();

/// Reads a number as parseNumber does, with one of the units after it or without: "5", "5deg", "5 deg". The
/// first unit that the text ends with is taken, case by case; the value is not converted. False, `value`
/// untouched, for anything else, a unit alone among it.
KVMEASURE_EXPORT bool parseQuantity(const QString& text, const QStringList& units, double& value);

/// `; did you mean "X"?` for the candidate that is meant, or nothing when none is near. That is the one that
/// `others` gives for the word (words in small letters that a user may try, with what each means); else the
/// first with the fewest letters to insert, remove or replace, capital or not: at most a third of the word's,
/// but one; else, from three letters on, the first that begins with the word. Words of more than 64 letters
/// have none.
KVMEASURE_EXPORT QString suggestion(const QString& word, const QStringList& candidates,
                                    const QMap<QString, QString>& others = {});

/// A number of things: "1 contour", "2 contours", "0 contours".
KVMEASURE_EXPORT QString counted(qint64 number, const QString& what);

/// A number with that many decimals, and without sign where all digits are zero; "nan", "inf", "-inf".
KVMEASURE_EXPORT QString fixed(double value, int decimals);

/// A length in mm with four decimals, a tenth of a micrometre, without unit; from 1e7 mm on six digits: such
/// numbers come from damaged files. "nan" for NaN.
KVMEASURE_EXPORT QString mm(double value);
KVMEASURE_EXPORT void addMm(double value, QString& text);  ///< the same behind a text

/// A share as "12.34 %"; "-" of a whole that is not greater than 0.
KVMEASURE_EXPORT QString percent(double part, double whole);

/// True for a text that printable() leaves as it is.
KVMEASURE_EXPORT bool isPrintable(const QString& text);

/// The text as a terminal may have it, on one line: control characters, and those that turn the direction of
/// writing, as "\u001b", the form of JSON. Names of files may hold them. Other texts stay as they are.
KVMEASURE_EXPORT QString printable(const QString& text);

}  // namespace KvMeasure
