#pragma once
// Kinds whose values a measurement of KvMath delivers from the lines of the template.

#include <kvmeasure/inspection/end_slopes_p.h>
#include <kvmeasure/inspection/matching.h>
#include <kvmeasure/inspection/measurement_kind_p.h>

#include <functional>

namespace KvMeasure::Internal {

/// The segment of a template line, as assignedLine gives it.
using LineOf = std::function<KvMath::LinePP(int line)>;

/// The names of template lines; a line without one has its number.
class LineNames {
public:
    explicit LineNames(const QStringList& names) : names_(names) {}

    QString operator()(int line) const { return names_.value(line, QString::number(line)); }
    QString end(int line, bool isStart) const { return (*this)(line) + (isStart ? ".start" : ".end"); }

private:
    const QStringList& names_;
};

/// A number of a statement, in ten digits.
inline QString written(double number) { return QString::number(number, 'g', 10); }

/// A kind with a measurement of its own in KvMath, which also stands in stored plans. The values follow from
/// the results of that measurement: points and lengths are mm, angles degrees.
class TemplateKind : public MeasurementKind {
public:
    virtual QLatin1String type() const = 0;  ///< type name of the measurement, the same in stored plans
    /// It is of the class that the other functions ask for; one of a host may only have the type's name.
    virtual bool isOwn(const KvMath::TSMeasurement* measurement) const = 0;

    /// Why a value is missing where the measurement has no result.
    virtual QString whyNotMeasured() const { return QStringLiteral("a line that it reads was not found"); }
    /// Why a value is missing where the result is no number.
    virtual QString whyNoNumber() const { return QStringLiteral("a line that it reads has no length"); }
    /// What stands behind its word in the statement that made such a measurement.
    virtual QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const = 0;
    /// Adds the slopes of its numbers, lengths in mm and angles in degrees, over the ends of its lines.
    /// Called after it was measured. False: they are not known, and the measurement is repeated with moved
    /// ends.
    virtual bool addSlopes(KvMath::TSMeasurement& /*measurement*/, EndSlopes& /*slopes*/) const {
        return false;
    }
    /// What is to be said beside each length and angle that was measured; may be empty.
    virtual QString note(KvMath::TSMeasurement& /*measurement*/) const { return {}; }
    /// Completes what pictures show of a length or an angle. The mark has the points of KvMath's result, and
    /// of an angle its value to the left.
    virtual void draw(KvMath::TSMeasurement& /*measurement*/, const LineOf& /*lineOf*/,
                      Mark& /*mark*/) const {}
};

/// A kind of measurements of one class.
template <class Own>
class TemplateKindOf : public TemplateKind {
public:
    bool isOwn(const KvMath::TSMeasurement* measurement) const override {
        return dynamic_cast<const Own*>(measurement) != nullptr;
    }

protected:
    /// Of a measurement for which templateKind() gave this kind.
    static const Own& asOwn(KvMath::TSMeasurement& measurement) { return static_cast<Own&>(measurement); }
};

/// The kind of a measurement, by its type name and class. One for those of hosts, which is in no table, where
/// no kind has that name.
const TemplateKind& templateKind(KvMath::TSMeasurement& measurement);

/// The lines of a distance, where these two measurements are its shifts at the start and at the end of the
/// first line.
bool areShiftsOfDistance(KvMath::TSMeasurement& first, KvMath::TSMeasurement& second, int& from, int& to);

/// The template lines that a measurement reads, ascending, by the keys of its stored form.
QList<int> linesRead(KvMath::TSMeasurement& measurement);

/// Of kinds that give a point: why no tolerance can stand after them.
inline QString pointsHaveNone() { return "a point has no single value to be within a tolerance"; }

/// `point` on the other side of `centre`, at the same distance.
inline Vector mirrored(const Vector& point, const Vector& centre) {
    return {2 * centre.x - point.x, 2 * centre.y - point.y};
}

}  // namespace KvMeasure::Internal
