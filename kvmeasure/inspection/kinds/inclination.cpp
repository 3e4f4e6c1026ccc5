// Direction of a line against the x axis.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/inclination_angle.h>

namespace KvMeasure::Internal {

class InclinationKind : public TemplateKindOf<KvMath::TSUMInclinationAngle> {
public:
    QString word() const override { return "inclination"; }
    QStringList otherWords() const override { return {"tilt", "slope"}; }
    QLatin1String type() const override { return QLatin1String("Inclination angle"); }
    QString usage() const override { return "inclination LINE"; }
    QString help() const override { return "direction against the x axis, -180 to 180 degrees"; }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& inclination = asOwn(measurement);
        slopes.addTurn(0, inclination.getMeasureLineIndex(), kDegreesPerRadian);
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        return lines(own.getMeasureLineIndex());
    }
    void read(Statement& statement) const override {
        statement.add(new KvMath::TSUMInclinationAngle(statement.takeLine(), statement.name()));
    }
};

KVMEASURE_KIND(InclinationKind)

}  // namespace KvMeasure::Internal
