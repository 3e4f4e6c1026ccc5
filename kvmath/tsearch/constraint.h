#pragma once
// Constraint of a template: judges one or two of the segments that a search has assigned to template lines.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>

#include <QtCore/QDataStream>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace KvMath {

/// Base of all constraints; hosts may derive their own. The order of the virtual functions is part of the
/// interface.
///
/// An assignment holds one code per template line: segment code / 2, from its second to its first point when
/// the code is odd; a negative code is a line without a segment.
class KVMATH_EXPORT TSConstraint {
public:
    virtual TSConstraint* clone() = 0;  ///< a copy made with new; the caller owns it
    virtual ~TSConstraint() = default;  ///< made for deletion through the base

    /// True when the assigned segments satisfy the constraint. Reads the codes of its own template lines
    /// only; `lines` must hold every segment they name. False for a null pointer, a negative line index or a
    /// negative code.
    virtual bool check(LinePP* lines, int* assignment) = 0;
    virtual int getMaximumLineIndex() = 0;  ///< highest template line the check reads
    virtual QString getType() = 0;          ///< type name, the same for all objects of a class

    /// Adds the constraint's keys to `map`; other keys stay. True when all are there.
    virtual bool save(QMap<QString, QVariant>& map) = 0;
    /// Writes the fields as raw little-endian bytes, whatever version or byte order the stream has. False
    /// when the stream does not take all of them.
    virtual bool save(QDataStream& stream) = 0;
    /// Reads the constraint's keys. False, and nothing changed, when one is missing or a value is unusable.
    virtual bool load(QMap<QString, QVariant>& map) = 0;
    /// Reads the fields as save wrote them. False, and nothing changed, when the stream holds fewer bytes.
    virtual bool load(QDataStream& stream) = 0;

    /// Lowest template line the check reads: the highest one unless a class says otherwise.
    virtual int getMinimumLineIndex() { return getMaximumLineIndex(); }
};

}  // namespace KvMath
