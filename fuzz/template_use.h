#pragma once
// What a host does with a template and measurements that were loaded: judge and measure any segments.

#include "fuzz/fuzz_input.h"

#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/template.h>

#include <QtCore/QJsonDocument>

#include <vector>

namespace Fuzz {

inline QVariant jsonValue(const QByteArray& text) {
    const LeaksIgnored brokenJson;
    return QJsonDocument::fromJson(text).toVariant();
}

inline void useTemplate(const KvMath::TSTemplate& lines, KvMath::TSMeasurementList& measurements,
                        Input& input) {
    constexpr int kSegments = 4;
    QList<KvMath::LinePP> segments;
    for (int i = 0; i < kSegments; ++i)
        segments.append(input.line());
    std::vector<KvMath::LinePP> array(segments.begin(), segments.end());
    std::vector<int> codes;
    for (int i = 0; i < lines.getTemplateLinesNumber(); ++i) {
        codes.push_back(input.below(2 * kSegments));
        lines.check(array.data(), codes.data(), i);
    }
    lines.check(array.data(), codes.data(), input.integer());
    for (int& code : codes)
        code += input.byte() < 240 ? 0 : input.below(32) - 16;
    KvMath::TSLinesIndecies match(codes.data(), static_cast<int>(codes.size()));
    KvMath::evalLinesSet(segments, match, measurements);
    for (KvMath::TSMeasurement* measurement : measurements.getAllMeasurements())
        measurement->getUniformResult();
}

}  // namespace Fuzz
