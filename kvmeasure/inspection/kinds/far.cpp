// Outermost point of all segments in a direction, and its segment.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/far_line_in_direction.h>

namespace KvMeasure::Internal {

class FarKind : public TemplateKindOf<KvMath::TSUMFarLineInDirection> {
public:
    QString word() const override { return "far"; }
    QStringList otherWords() const override { return {"extreme"}; }
    QLatin1String type() const override { return QLatin1String("Far line in direction"); }
    QString usage() const override { return "far DX DY"; }
    QString help() const override {
        return "outermost point of all segments in a direction, and its segment";
    }
    QString whyNotMeasured() const override { return QStringLiteral("no segment was found"); }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& /*lines*/) const override {
        const auto& own = asOwn(measurement);
        const Vector direction = own.getDirection();
        return written(direction.x) + ' ' + written(direction.y);
    }
    void read(Statement& statement) const override {
        const double x = statement.takeNumber("the x of a direction");
        const double y = statement.takeNumber("the y of a direction");
        if (x == 0 && y == 0)
            statement.fail("the direction must not be 0 0");
        const QString& name = statement.name();
        statement.add(new KvMath::TSUMFarLineInDirection(KvMath::KvVector2D<double>(x, y), name + " near",
                                                         name + " far", name));
    }
};

KVMEASURE_KIND(FarKind)

}  // namespace KvMeasure::Internal
