#pragma once
// Template of a search: a number of lines and the constraints between them.

#include <kvmath/tsearch/constraint.h>

#include <QtCore/QList>

#include <memory>
#include <vector>

namespace KvMath {

/// Owns its constraints. Each lives in the list of the highest template line it reads, where a search can
/// judge it as early as possible. Copies are deep. 0 to 65,536 lines.
class KVMATH_EXPORT TSTemplate {
public:
    explicit TSTemplate(int linesNumber);  ///< no constraints; the number is clamped to 0 ... 65,536
    TSTemplate(const TSTemplate& other);
    TSTemplate&
    operator=(const TSTemplate& other);  ///< the old constraints are deleted; self-assignment changes nothing
    ~TSTemplate();

    /// Takes ownership on true. False, and the constraint stays with the caller: null, already held, or one
    /// of its line indices outside 0 ... lines - 1.
    bool addConstraint(TSConstraint* constraint);
    bool removeConstraint(TSConstraint* constraint);  ///< deletes it; false when it is not held
    void removeAllConstraints();                      ///< deletes all; the number of lines stays

    QList<TSConstraint*> getAllConstraints() const;  ///< line by line, in insertion order; owned here
    QList<TSConstraint*> _getConstraintsForLine(int line) const;  ///< empty when there is no such line

    /// False, and nothing changed, outside 0 ... 65,536 or when a constraint lives on a line that would go.
    bool setTemplateLinesNumber(int linesNumber);
    int getTemplateLinesNumber() const;

    /// Judges the segment assigned to template line `level` against those of the earlier lines: the
    /// constraints of that line in order, up to the first that fails. A line without constraints, or no such
    /// line, accepts. A constraint that has been made to read a later line since it was added rejects.
    /// Allocates nothing.
    bool check(LinePP* lines, int* assignment, int level) const;

    /// Map form: "numOfLines" (int), "constraints" (list of maps, each "constraintType" and the constraint's
    /// own keys). False, and `doc` untouched, when a constraint cannot be saved.
    bool save(QVariant& doc) const;
    /// Stream form, raw and little-endian: int32 lines; per line int32 count; per constraint an 8-byte type
    /// field (64-bit FNV-1a hash of the type name in UTF-8) and its record. False when something cannot be
    /// written.
    bool save(QDataStream& stream) const;

    /// Both forms remove the present constraints first, always. False for a wrong kind of value, a missing
    /// key, a short read, a number of lines outside 0 ... 65,536, an unknown type, a negative count, or a
    /// constraint that does not fit the lines; what was read before stays. Only the library's own six types
    /// can be loaded.
    bool load(const QVariant& doc);
    bool load(QDataStream& stream);

private:
    int listFor(TSConstraint& constraint) const;
    template <class Source>
    bool adopt(std::unique_ptr<TSConstraint> constraint, Source& source);
    bool loadConstraint(const QVariant& entry);
    bool loadConstraint(QDataStream& stream);

    std::vector<QList<TSConstraint*>> lists_;  // one per template line
};

}  // namespace KvMath
