#pragma once
// One match of a template: which found segment stands for which template line.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QList>

namespace KvMath {

/// Assignment codes, one per template line: segment code / 2, reversed when the code is odd, negative when
/// the template line has no segment. Cheap to copy.
class KVMATH_EXPORT TSLinesIndecies {
public:
    TSLinesIndecies() = default;                   ///< no lines
    TSLinesIndecies(const int* codes, int count);  ///< copies the codes; null or a count below 1: no lines

    /// segment = code / 2. False, and segment 0, outside 0 ... count() - 1. Of an unassigned line the number
    /// means nothing: ask isAssigned.
    bool getLineIndex(int templateLine, int& segment) const;
    /// reversed = code & 1. False, and reversed false, outside 0 ... count() - 1.
    bool getLineOrientation(int templateLine, bool& reversed) const;
    bool isAssigned(int templateLine) const;  ///< in range, and its code is not negative
    int code(int templateLine) const;         ///< as it was given; -1 outside 0 ... count() - 1
    bool isReversed(int templateLine) const;  ///< as getLineOrientation tells it
    /// The segment of a template line in the direction of use. False, and `line` untouched, when the template
    /// line is not assigned and when `segments` does not hold its segment.
    bool getLine(const QList<LinePP>& segments, int templateLine, LinePP& line) const;
    int count() const;  ///< template lines

    /// The same as an assignment of TSLinesIndecies(codes, count), in the storage that is there.
    void setCodes(const int* codes, int count);

private:
    QList<int> codes_;
};

}  // namespace KvMath

Q_DECLARE_TYPEINFO(KvMath::TSLinesIndecies, Q_MOVABLE_TYPE);
