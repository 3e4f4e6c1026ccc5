#pragma once
// Measurement on the segments of a template match, and the part that all measurements of the library share.

#include <kvmath/base/global.h>
#include <kvmath/segments/line_types.h>
#include <kvmath/tsearch/lines_indices.h>
#include <kvmath/tsearch/uniform_results.h>

#include <QtCore/QDataStream>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <vector>

namespace KvMath {

/// Base of all measurements; hosts may derive their own and register them with TSManagerOfMeasurements. The
/// order of the virtual functions is part of the interface.
class KVMATH_EXPORT TSMeasurement {
public:
    /// Measures on the found segments, with `indices` saying which of them stand for which template line.
    /// False, and all results at -1e100, when a template line it needs has no segment among `lines`. `lines`
    /// is not changed.
    virtual bool measure(QList<LinePP>& lines, TSLinesIndecies& indices) = 0;
    virtual bool isValid() = 0;          ///< result of the last measure; false before the first
    virtual QString getType() = 0;       ///< type name, the same for all objects of a class
    virtual TSMeasurement* clone() = 0;  ///< a copy made with new; the caller owns it
    virtual ~TSMeasurement() = default;  ///< made for deletion through the base

    virtual bool save(QMap<QString, QVariant>& map) = 0;  ///< adds its keys; other keys stay
    virtual bool save(QDataStream& stream) = 0;  ///< writes a raw little-endian record; false if cut short
    virtual bool load(QMap<QString, QVariant>& map) = 0;  ///< reads its keys; false if one is unusable
    virtual bool load(QDataStream& stream) = 0;           ///< reads its record; false if cut short

    virtual TSUniformResults getUniformResult() = 0;  ///< the active results of the last measure
    /// Names and activity flags of all results, to be read and changed in place. The pointers live as long as
    /// the measurement.
    virtual QList<QPair<QString*, bool*>> getUniformResultsInfoAll() = 0;

    /// Writes "measurementType" and then the measurement's own keys. False for null.
    static bool saveMeasurement(QMap<QString, QVariant>& map, TSMeasurement* measurement);
    /// Writes an 8-byte type field (64-bit FNV-1a hash of the type name in UTF-8, little-endian), then the
    /// record. False for null and when the stream does not take all.
    static bool saveMeasurement(QDataStream& stream, TSMeasurement* measurement);
    /// Makes a measurement of the type in "measurementType", which must be registered, and loads it; the
    /// caller owns it. False, and null, for an unknown type or when its load fails.
    static bool loadMeasurement(QMap<QString, QVariant>& map, TSMeasurement*& measurement);
    /// Reads a type field, makes a measurement of that type, which must be registered, and loads its record;
    /// the caller owns it. False, and null, for an unknown type, a short read or when its load fails.
    static bool loadMeasurement(QDataStream& stream, TSMeasurement*& measurement);
};

/// Adds uniform results to a measurement, and the stored forms of their names and activity flags.
///
/// Map form: the keys of the class, and "pointsInfos", "linesInfos", "anglesInfos": lists of maps with "name"
/// (string) and "isActive" (bool). Record: the parameters of the class; then for points, lines, angles an
/// int32 count and per entry an int32 length (0 ... 65,535), the name in UTF-8, one byte active.
class KVMATH_EXPORT TSUniformMeasurement : public TSMeasurement {
public:
    bool isValid() override;                           ///< result of the last measure; false before the first
    bool save(QMap<QString, QVariant>& map) override;  ///< adds the parameters of the class and the infos
    /// Writes the record. False when the stream does not take all, and when a name has more than 65,535 bytes
    /// in UTF-8.
    bool save(QDataStream& stream) override;
    /// Reads parameters and infos. The parameters of the class must be there. Infos, or parts of them, may be
    /// missing and then stay as they are; a list that is there must hold the class's own number of maps.
    /// False: nothing changed.
    bool load(QMap<QString, QVariant>& map) override;
    /// Reads the record. False for a short one or a count that is not the class's own; the infos then stay,
    /// the parameters may already be those of the record.
    bool load(QDataStream& stream) override;
    TSUniformResults getUniformResult() override;  ///< the active results; none after a failed measure
    /// Pointers to name and activity flag of each result: points, then lines, then angles.
    QList<QPair<QString*, bool*>> getUniformResultsInfoAll() override;

    /// Copied, never moved: a move would take the infos away from under those pointers.
    TSUniformMeasurement(const TSUniformMeasurement&) = default;
    /// Copies everything. Pointers from getUniformResultsInfoAll stay good when both have equally many
    /// results.
    TSUniformMeasurement& operator=(const TSUniformMeasurement&) = default;
    ~TSUniformMeasurement() override = default;  ///< ends the life of the pointers to its infos

protected:
    virtual bool saveConcreteUniform(QMap<QString, QVariant>& map) = 0;  ///< adds the keys of the class
    virtual bool saveConcreteUniform(QDataStream& stream) = 0;  ///< writes the parameters of the class
    virtual bool loadConcreteUniform(QMap<QString, QVariant>& map) = 0;  ///< reads the keys of the class
    virtual bool loadConcreteUniform(QDataStream& stream) = 0;  ///< reads the parameters of the class

    /// Names of the results the class can produce; they settle how many of each kind there are. All are
    /// active.
    TSUniformMeasurement(const QStringList& points, const QStringList& lines, const QStringList& angles);

    void clearResults();  ///< start of a measure: no uniform results, not valid
    bool succeed();       ///< end of a measure: valid; returns true

    /// Number of the segment that stands for `templateLine`. False when it has none.
    static bool assignedSegment(const QList<LinePP>& lines, const TSLinesIndecies& indices, int templateLine,
                                int& segment);
    /// The segment that stands for `templateLine`, from its start to its end as assigned. False when it has
    /// none.
    static bool assignedLine(const QList<LinePP>& lines, const TSLinesIndecies& indices, int templateLine,
                             LinePP& line);

    /// Adds a point as result `index` of the points when that is active.
    void addPoint(int index, const KvVector2D<double>& point);
    /// Adds a line with its value, mm, as result `index` of the lines when that is active.
    void addLine(int index, const KvVector2D<double>& p1, const KvVector2D<double>& p2, double value);
    /// Adds an angle with its value, radians, as result `index` of the angles when that is active.
    void addAngle(int index, const KvVector2D<double>& vertex, const KvVector2D<double>& first,
                  const KvVector2D<double>& second, double value);
    bool isAngleActive(int index) const;  ///< lets a measure skip the arms of an angle nobody wants

private:
    using Infos = std::vector<TSUniformResultInfo>;  // never resized, so that pointers into it stay good

    Infos points_;
    Infos lines_;
    Infos angles_;
    // Kept from measure to measure, so that measuring again allocates nothing.
    std::vector<TSUniformResultPoint> resultPoints_;
    std::vector<TSUniformResultLine> resultLines_;
    std::vector<TSUniformResultAngle> resultAngles_;
    bool valid_ = false;
};

}  // namespace KvMath
