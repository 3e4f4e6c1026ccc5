// Distance of a line from another: the mean of two shifts, which show it.

#include <kvmeasure/inspection/kind_definition_p.h>

#include <kvmath/tsearch/measurements/endpoint_shift_in_direction.h>

namespace KvMeasure::Internal {

class DistanceKind : public MeasurementKind {
public:
    QString word() const override { return "distance"; }
    QStringList otherWords() const override { return {"thickness"}; }
    QString usage() const override { return "distance LINE LINE"; }
    QString help() const override {
        return "from the middle of the first line square to the second line, mm with\n"
               "sign; two shifts at the ends of the first line, averaged";
    }
    void read(Statement& statement) const override {
        const int from = statement.takeLine();
        const int to = statement.takeLine();
        constexpr double kRightAngle = 90 * kRadiansPerDegree;
        const QString& name = statement.name();
        const Mean mean{name, name + " (start)", name + " (end)"};
        statement.claim({{mean.name, "mm"}});
        for (const bool atStart : {true, false})
            statement.add(new KvMath::TSUMEndPointShiftInDirection(
                from, to, atStart, /*isLTStartPoint=*/true, to, /*isLineReferenceReversed=*/false,
                kRightAngle, atStart ? mean.first : mean.second));
        statement.add(mean);
    }
};

KVMEASURE_KIND(DistanceKind)

}  // namespace KvMeasure::Internal
