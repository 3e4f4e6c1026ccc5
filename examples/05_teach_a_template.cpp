// Teaches a template on a good part, keeps it as JSON, and finds it again on a part that lies differently.

#include <kvmath/kvmath>

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace KvMath;

static KvProfile scanOfARidge() {
    KvProfile profile;
    for (int i = 0; i < 600; ++i) {
        const float x = -30.0F + 0.1F * static_cast<float>(i);
        profile.points.append(KvPointXY(x, std::min(8.0F, std::max(0.0F, 14.0F - std::abs(x)))));
    }
    return profile;
}

int main() {
    const TSFindTemplateParams params = {2.0, 0.3, 3, 2.0, false, 0.5};
    QList<LinePP> segments;
    QList<TSLinesIndecies> matches;
    findTemplate(scanOfARidge(), nullptr, params, segments, matches);  // no template: the segments alone
    std::printf("taught on %d segments\n", int(segments.size()));

    // Every line as long as it is here, to 1 mm, and as far from the one before it; poses do not matter.
    TSTemplate taught(static_cast<int>(segments.size()));
    TSMeasurementList measurements;
    for (int i = 0; i < segments.size(); ++i) {
        const LinePP& s = segments.at(i);
        const double length = std::hypot(s.p2.x - s.p1.x, s.p2.y - s.p1.y);
        taught.addConstraint(new TSCLength(i, length - 1.0, length + 1.0));
        if (i > 0)
            taught.addConstraint(new TSCEndPointDistance(i - 1, i, 0.0, 2.0));
    }
    measurements.addMeasurement(new TSUMLength(2, "top"));
    QVariant document;
    saveTemplate(document, taught, measurements, "1", "1", "ridge");
    const QByteArray json = QJsonDocument::fromVariant(document).toJson();

    TSTemplate loaded(0);
    QString fileVersion, userVersion, name;
    if (!loadTemplateFromJson(json, loaded, measurements, fileVersion, userVersion, name))
        return 1;

    KvProfile other = scanOfARidge();
    other.rotateEvklid(5.0F);
    other.shift(4.0F, -10.0F, 0.0F);
    findTemplate(other, &loaded, params, segments, matches);
    for (TSLinesIndecies& match : matches) {
        evalLinesSet(segments, match, measurements);
        for (TSMeasurement* measurement : measurements.getAllMeasurements()) {
            for (const TSUniformResultLine& result : measurement->getUniformResult().lines)
                std::printf("%s: %s %.2f mm\n", qPrintable(name), qPrintable(result.name), result.value);
        }
    }
    return matches.size() == 1 ? 0 : 1;
}
