#pragma once
// Numbers that stand for "nothing was measured": those that are given, and those that look like it.

#include <QtCore/QString>
#include <kvmeasure/base/global.h>

#include <limits>
#include <map>
#include <vector>

namespace KvMeasure {

/// The numbers that a user says stand for nothing. By default none is said to, and those that look like it
/// are asked for.
struct KVMEASURE_EXPORT UnsetValues {
    std::vector<double> values;  ///< in the unit of the file
    bool keepsAll = false;       ///< no other number stands for nothing

    /// True for one of the values, also rounded to float as records hold it. False for NaN.
    bool holds(double value) const;
    /// As holds, for a coordinate along or across the line, where only numbers such as -9999 are no place: 0
    /// and -1 may be unset heights, and are places all the same.
    bool holdsPlace(double value) const;
};

/// Watches the values of a column for numbers such as -9999, -32768 or 1e30 that stand far outside all
/// others.
class KVMEASURE_EXPORT UnsetWatch {
public:
    /// Takes the next value, which is not NaN. `line` of a text, from 1; 0: there is none. The first 16
    /// different values that look unset are suspects, others count as true.
    void add(double value, qint64 line);

    /// A value that may stand for nothing.
    struct Finding {
        double value = 0;  ///< in the unit that was added
        qint64 count = 0;  ///< how often
        qint64 line = 0;   ///< where first; 0: not known
    };
    /// The most frequent such value, if there is one: farther from all others than these are from one
    /// another; without others, one that comes twice. False, `finding` untouched, if there is none.
    bool find(Finding& finding) const;

private:
    std::map<double, Finding> suspects_;
    double from_ = 1e308, to_ = -1e308;  // of all others
};

/// Takes the heights of a scan one after another, and makes those that stand for nothing NaN.
class KVMEASURE_EXPORT HeightWatch {
public:
    /// `unset` is not copied and must outlive the watch.
    explicit HeightWatch(const UnsetValues& unset) : unset_(unset) {}

    /// The height, NaN where it stands for nothing. `line` of a text, from 1; 0: there is none.
    double take(double height, qint64 line);
    /// The place, NaN where it stands for nothing.
    double takePlace(double place) const { return unset_.holdsPlace(place) ? kNothing : place; }
    /// The finding of UnsetWatch among the heights; none with keepsAll.
    bool find(UnsetWatch::Finding& finding) const { return !unset_.keepsAll && watch_.find(finding); }
    /// Asks what a height far outside all others is; empty when there is none.
    QString warning() const;

private:
    static constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

    const UnsetValues& unset_;
    UnsetWatch watch_;
};

/// True for nines (-999, 9999.99), the ends of whole numbers of 16 or 32 bits, also with a decimal point in
/// them (-32.768), and what is 1e9 or beyond, with either sign. False for NaN and below 30.
KVMEASURE_EXPORT bool looksUnset(double value);

}  // namespace KvMeasure
