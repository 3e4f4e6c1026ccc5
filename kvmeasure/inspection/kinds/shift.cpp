// Way from an end of a line to an end of another along a direction.

#include <kvmeasure/base/plane_geometry.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/endpoint_shift_in_direction.h>

#include <cmath>

namespace KvMeasure::Internal {

class ShiftKind : public TemplateKindOf<KvMath::TSUMEndPointShiftInDirection> {
public:
    QString word() const override { return "shift"; }
    QStringList otherWords() const override { return {"depth", "height", "step", "offset", "width", "gap"}; }
    QLatin1String type() const override { return QLatin1String("Endpoint shift in direction"); }
    QString usage() const override { return "shift PLACE PLACE DEGREES [ref LINE] [reversed]"; }
    QString help() const override {
        return "way from place to place along a direction: the reference line (the\n"
               "first line unless given) turned left by DEGREES, mm with sign";
    }
    void draw(KvMath::TSMeasurement& measurement, const LineOf& lineOf, Mark& mark) const override {
        const auto& shift = asOwn(measurement);
        int from = 0;
        int to = 0;
        int reference = 0;
        shift.getMeasureLinesIndecies(from, to, reference);
        const KvMath::LinePP along = lineOf(reference);
        const double sign = shift.getLineReferenceReversed() ? -1 : 1;
        const double angle = std::atan2(sign * (along.p2.y - along.p1.y), sign * (along.p2.x - along.p1.x)) +
                             shift.getDirectionAngle();
        mark.origin = mark.second;
        mark.hasOrigin = true;
        const double way = shift.getShift();
        mark.second = Vector(mark.first.x + way * std::cos(angle), mark.first.y + way * std::sin(angle));
    }
    /// The ends move the way along the direction; the reference line turns it.
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& shift = asOwn(measurement);
        int from = 0;
        int to = 0;
        int reference = 0;
        shift.getMeasureLinesIndecies(from, to, reference);
        bool isFromStart = false;
        bool isToStart = false;
        shift.getPointsChoice(isFromStart, isToStart);
        const KvMath::LinePP along = slopes.line(reference);
        const double size = (shift.getLineReferenceReversed() ? -1 : 1) * length(along.p1, along.p2);
        const double cosine = std::cos(shift.getDirectionAngle()) / size;
        const double sine = std::sin(shift.getDirectionAngle()) / size;
        const Vector way(along.p2.x - along.p1.x, along.p2.y - along.p1.y);
        const Vector unit(cosine * way.x - sine * way.y, sine * way.x + cosine * way.y);
        slopes.add(0, from, isFromStart, {-unit.x, -unit.y});
        slopes.add(0, to, isToStart, unit);
        const KvMath::LinePP first = slopes.line(from);
        const KvMath::LinePP second = slopes.line(to);
        const Vector& a = isFromStart ? first.p1 : first.p2;
        const Vector& b = isToStart ? second.p1 : second.p2;
        slopes.addTurn(0, reference, (b.y - a.y) * unit.x - (b.x - a.x) * unit.y);
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        int from = 0;
        int to = 0;
        int reference = 0;
        bool isFromStart = false;
        bool isToStart = false;
        own.getMeasureLinesIndecies(from, to, reference);
        own.getPointsChoice(isFromStart, isToStart);
        return lines.end(from, isFromStart) + ' ' + lines.end(to, isToStart) + ' ' +
               written(own.getDirectionAngle() / kRadiansPerDegree) +
               (reference == from ? QString() : " ref " + lines(reference)) +
               (own.getLineReferenceReversed() ? " reversed" : "");
    }
    void read(Statement& statement) const override {
        const Place from = statement.takePlace();
        const Place to = statement.takePlace();
        const double degrees =
            statement.takeNumber("the direction in degrees from the reference line", degreeUnits());
        constexpr double kFullTurn = 360;
        if (!(std::fabs(degrees) <= kFullTurn))
            statement.fail("the direction must be from -360 to 360 degrees");
        int reference = from.line;
        bool isReversed = false;
        while (!statement.atEnd()) {
            const QString word = statement.take("ref");
            if (word == "ref")
                reference = statement.takeLine();
            else if (word == "reversed")
                isReversed = true;
            else
                statement.fail(QString("expected \"ref LINE\" or \"reversed\", found \"%1\"").arg(word));
        }
        statement.add(new KvMath::TSUMEndPointShiftInDirection(
            from.line, to.line, from.end == Place::Start, to.end != Place::Finish, reference, isReversed,
            degrees * kRadiansPerDegree, statement.name()));
    }
};

KVMEASURE_KIND(ShiftKind)

}  // namespace KvMeasure::Internal
