// Turn from the direction of one line to that of another.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/rotation_angle.h>

namespace KvMeasure::Internal {

namespace {

bool turnsLeft(const KvMath::TSUMRotationAngle& rotation) {
    return rotation.getDirection() == KvMath::TSUMRotationAngle::CounterClockwise;
}

}  // namespace

class RotationKind : public TemplateKindOf<KvMath::TSUMRotationAngle> {
public:
    QString word() const override { return "rotation"; }
    QStringList otherWords() const override { return {"turn"}; }
    QLatin1String type() const override { return QLatin1String("Rotation angle"); }
    QString usage() const override { return "rotation LINE LINE"; }
    QString help() const override { return "turn from the first direction to the second, 0 to 180 degrees"; }
    QString note(KvMath::TSMeasurement& measurement) const override {
        static const QString left = "to the left";
        static const QString right = "to the right";
        return turnsLeft(asOwn(measurement)) ? left : right;
    }
    void draw(KvMath::TSMeasurement& measurement, const LineOf& lineOf, Mark& mark) const override {
        const auto& rotation = asOwn(measurement);
        int from = 0;
        int to = 0;
        rotation.getMeasureLinesIndecies(from, to);
        const KvMath::LinePP line = lineOf(from);
        if (!turnsLeft(rotation))
            mark.angle = -mark.angle;
        mark.nearVertex = line.p2;
        mark.nearFirst = mirrored(line.p1, line.p2);
    }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& rotation = asOwn(measurement);
        int from = 0;
        int to = 0;
        rotation.getMeasureLinesIndecies(from, to);
        const double perRadian = turnsLeft(rotation) ? kDegreesPerRadian : -kDegreesPerRadian;
        slopes.addTurn(0, from, -perRadian);
        slopes.addTurn(0, to, perRadian);
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        int from = 0;
        int to = 0;
        own.getMeasureLinesIndecies(from, to);
        return lines(from) + ' ' + lines(to);
    }
    void read(Statement& statement) const override {
        const int from = statement.takeLine();
        const int to = statement.takeLine();
        statement.add(new KvMath::TSUMRotationAngle(from, to, statement.name()));
    }
};

KVMEASURE_KIND(RotationKind)

}  // namespace KvMeasure::Internal
