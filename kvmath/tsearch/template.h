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
    TSTemplate(const TSTemplate& other);   ///< as many lines as `other`, with a clone of each constraint
    /// Takes over lines and clones of the constraints. The old ones are deleted; self-assignment changes
    /// nothing.
    TSTemplate& operator=(const TSTemplate& other);
    ~TSTemplate();  ///< deletes its constraints

    /// Adds a constraint and takes ownership on true. False, and the constraint stays with the caller: null,
    /// already held, or one of its line indices outside 0 ... lines - 1.
    bool addConstraint(TSConstraint* constraint);
    bool removeConstraint(TSConstraint* constraint);  ///< deletes a constraint; false when it is not held
    void removeAllConstraints();                      ///< deletes every constraint; the lines stay

    QList<TSConstraint*> getAllConstraints() const;  ///< line by line, in insertion order; owned here
    /// The constraints whose highest line this is, in insertion order; empty when there is no such line.
    QList<TSConstraint*> _getConstraintsForLine(int line) const;

    /// Adds lines at the end or removes them there. False, and nothing changed, outside 0 ... 65,536 or when
    /// a constraint lives on a line that would go.
    bool setTemplateLinesNumber(int linesNumber);
    int getTemplateLinesNumber() const;  ///< number of lines, 0 to 65,536

    /// Judges the segment assigned to template line `level` against those of the earlier lines: the
    /// constraints of that line in order, up to the first that fails. A line without constraints, or no such
    /// line, accepts. A constraint that has been made to read a later line since it was added rejects.
    /// Allocates nothing.
    bool check(LinePP* lines, int* assignment, int level) const;

    /// Stores the map form: "numOfLines" (int), "constraints" (list of maps, each "constraintType" and the
    /// constraint's own keys). False, and `doc` untouched, when a constraint cannot be saved.
    bool save(QVariant& doc) const;
    /// Writes the stream form, raw and little-endian: int32 lines; per line int32 count; per constraint an
    /// 8-byte type field (64-bit FNV-1a hash of the type name in UTF-8) and its record. False when something
    /// cannot be written.
    bool save(QDataStream& stream) const;

    /// Reads the map form. The present constraints go first, always. False for a wrong kind of value, a
    /// missing key, a number of lines outside 0 ... 65,536, an unknown type, or a constraint that does not
    /// load or does not fit the lines; what was read before stays. Only types of constraintTypes can be
    /// loaded.
    bool load(const QVariant& doc);
    /// Reads the stream form. The present constraints go first, always. False for a short read, a number of
    /// lines outside 0 ... 65,536, a negative count, an unknown type, or a constraint that does not fit the
    /// lines; what was read before stays. Only types of constraintTypes can be loaded.
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
