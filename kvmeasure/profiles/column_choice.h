#pragma once
// Which columns of a table are x and height, and in which units: by options, by headings, or by their order.

#include <kvmeasure/base/global.h>
#include <kvmeasure/profiles/text_table.h>
#include <kvmeasure/profiles/unset_values.h>

#include <QtCore/QStringList>

#include <limits>

namespace KvMeasure {

/// How a text is to be understood where it does not say so itself. The defaults leave all to the text.
struct KVMEASURE_EXPORT TextOptions {
    QString columns;  ///< "X,HEIGHT" or "HEIGHT": numbers from 1, or names of the heading; empty: chosen
    QList<LengthUnit> units;  ///< of x and height, or one for all; empty: those of the heading, or mm
    double pitch =
        std::numeric_limits<double>::quiet_NaN();  ///< mm > 0: there is no x, heights lie so far apart
    UnsetValues unset;                             ///< numbers that stand for "nothing was measured"
    QString given;                                 ///< the first option that was given; empty for none
    QString givenOfTable;                          ///< likewise of --columns and --pitch, which no scan has

    bool hasPitch() const { return pitch > 0; }  ///< false for NaN, too
};

/// Where a table has x and height, in which units, and why.
struct ColumnChoice {
    bool isProfilePerRow = false;   ///< every row holds the heights of a profile
    int x = -1;                     ///< column of x, from 0; -1: x is pitch times place
    int height = 0;                 ///< column of the height, from 0; of no meaning with a profile per row
    LengthUnit xUnit = millimetre;  ///< of column `x`
    LengthUnit heightUnit = millimetre;  ///< of the heights
    const char* reason = "";             ///< why these columns, for a user; the library's
    const char* unitReason = "";         ///< why these units, likewise
    bool mayBeNumbers = false;           ///< nothing says that column `x` is not the number of the point

    int needed() const { return (x > height ? x : height) + 1; }  ///< columns of a row, at least
};

/// Chooses by the options first, then by the headings, then by the order of the columns. Throws Error, which
/// is of no file, where the choice is not clear: columns or units that may be meant in several ways, heights
/// without a pitch, a unit that is none of length. Its text says what to give.
KVMEASURE_EXPORT ColumnChoice chooseColumns(const TextHead& head, const TextOptions& options);

}  // namespace KvMeasure
