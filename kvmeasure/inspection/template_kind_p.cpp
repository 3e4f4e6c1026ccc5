#include <kvmeasure/inspection/template_kind_p.h>

#include <algorithm>

namespace KvMeasure {

namespace Internal {

namespace {

/// Measurements that a host has registered with KvMath.
class ForeignKind : public TemplateKindOf<KvMath::TSMeasurement> {
public:
    QString word() const override { return {}; }
    QLatin1String type() const override { return QLatin1String(); }
    QString usage() const override { return {}; }
    QString help() const override { return {}; }
    QString parameters(KvMath::TSMeasurement& measurement, const LineNames& /*lines*/) const override {
        return measurement.getType();
    }
    void read(Statement& /*statement*/) const override {}
};

std::vector<const TemplateKind*> templateKinds() {
    std::vector<const TemplateKind*> kinds;
    for (const MeasurementKind* kind : measurementKinds()) {
        if (const auto* found = dynamic_cast<const TemplateKind*>(kind))
            kinds.push_back(found);
    }
    return kinds;
}

}  // namespace

const TemplateKind& templateKind(KvMath::TSMeasurement& measurement) {
    static const std::vector<const TemplateKind*> kinds = templateKinds();
    static const ForeignKind foreign;
    const QString type = measurement.getType();
    for (const TemplateKind* kind : kinds) {
        if (kind->type() == type && kind->isOwn(&measurement))
            return *kind;
    }
    return foreign;
}

QList<int> linesRead(KvMath::TSMeasurement& measurement) {
    QVariantMap stored;
    measurement.save(stored);
    QList<int> lines;
    for (auto it = stored.begin(); it != stored.end(); ++it) {
        if (it.key().startsWith("measure") && it.key().endsWith("Index"))
            lines.append(it.value().toInt());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

}  // namespace Internal

QList<ValueName> valueNames(KvMath::TSMeasurement& measurement) {
    QVariantMap stored;
    measurement.save(stored);
    QList<ValueName> names;
    const auto add = [&](const char* key, const QStringList& endings, const QString& unit) {
        for (const QVariant& info : stored[key].toList()) {
            for (const QString& ending : endings) {
                if (info.toMap()["isActive"].toBool())
                    names.append({info.toMap()["name"].toString() + ending, unit});
            }
        }
    };
    add("pointsInfos", {".x", ".y"}, "mm");
    add("linesInfos", {""}, "mm");
    add("anglesInfos", {""}, "deg");
    return names;
}

}  // namespace KvMeasure
