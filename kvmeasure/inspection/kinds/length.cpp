// Length of a line.

#include <kvmeasure/inspection/kind_definition_p.h>
#include <kvmeasure/inspection/template_kind_p.h>

#include <kvmath/tsearch/measurements/length.h>

namespace KvMeasure::Internal {

class LengthKind : public TemplateKindOf<KvMath::TSUMLength> {
public:
    QString word() const override { return "length"; }
    QStringList otherWords() const override { return {"size"}; }
    QLatin1String type() const override { return QLatin1String("Length"); }
    QString usage() const override { return "length LINE"; }
    QString help() const override { return "distance of its ends, mm"; }
    bool addSlopes(KvMath::TSMeasurement& measurement, EndSlopes& slopes) const override {
        const auto& measured = asOwn(measurement);
        const int number = measured.getMeasureLineIndex();
        const KvMath::LinePP line = slopes.line(number);
        const double size = measured.getLength();
        const Vector along((line.p2.x - line.p1.x) / size, (line.p2.y - line.p1.y) / size);
        slopes.add(0, number, /*isStart=*/false, along);
        slopes.add(0, number, /*isStart=*/true, {-along.x, -along.y});
        return true;
    }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& lines) const override {
        const auto& own = asOwn(measurement);
        return lines(own.getMeasureLineIndex());
    }
    void read(Statement& statement) const override {
        statement.add(new KvMath::TSUMLength(statement.takeLine(), statement.name()));
    }
};

KVMEASURE_KIND(LengthKind)

}  // namespace KvMeasure::Internal
