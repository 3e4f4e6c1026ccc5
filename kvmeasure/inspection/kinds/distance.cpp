// Distance of a line from another: the mean of two shifts, which show it.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/endpoint_shift_in_direction.h>

namespace KvMeasure::Internal {

namespace {

constexpr double kRightAngle = 90 * kRadiansPerDegree;

/// The lines of one of a distance's shifts, at the start or at the end of the first line.
bool isShiftOfDistance(KvMath::TSMeasurement& measurement, bool atStart, int& from, int& to) {
    const auto* shift = dynamic_cast<KvMath::TSUMEndPointShiftInDirection*>(&measurement);
    if (shift == nullptr)
        return false;
    int reference = 0;
    bool isFromStart = false;
    bool isToStart = false;
    shift->getMeasureLinesIndecies(from, to, reference);
    shift->getPointsChoice(isFromStart, isToStart);
    return isFromStart == atStart && isToStart && reference == to && !shift->getLineReferenceReversed() &&
           shift->getDirectionAngle() == kRightAngle;
}

}  // namespace

bool areShiftsOfDistance(KvMath::TSMeasurement& first, KvMath::TSMeasurement& second, int& from, int& to) {
    int otherFrom = 0;
    int otherTo = 0;
    return isShiftOfDistance(first, /*atStart=*/true, from, to) &&
           isShiftOfDistance(second, /*atStart=*/false, otherFrom, otherTo) && from == otherFrom &&
           to == otherTo;
}

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
