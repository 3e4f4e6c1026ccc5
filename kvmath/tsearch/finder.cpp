#include <kvmath/tsearch/finder.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_extraction_p.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/search.h>
#include <kvmath/tsearch/template.h>
#include <kvmath/tsearch/template_check_p.h>

#include <memory>
#include <vector>

namespace KvMath {

namespace {

using Results = QList<TSLinesIndecies>;

std::vector<KvVector2D<double>> widened(const QList<KvPointXY>& points) {
    std::vector<KvVector2D<double>> wide(static_cast<size_t>(points.size()));
    KvVector2D<double>* to = wide.data();
    for (const KvPointXY& p : points)
        *to++ = {static_cast<double>(p.x), static_cast<double>(p.y)};
    return wide;
}

TSLinesIndecies storedOrder(int segments) {
    std::vector<int> codes(static_cast<size_t>(segments));
    for (int segment = 0; segment < segments; ++segment)
        codes[static_cast<size_t>(segment)] = 2 * segment;
    return {codes.data(), segments};
}

/// Best callback that keeps every candidate and prefers none.
bool collect(LinePP* /*lines*/, int* candidate, int* /*currentBest*/, int nTemplateLines, void* results) {
    static_cast<Results*>(results)->append(TSLinesIndecies(candidate, nTemplateLines));
    return false;
}

/// All assignments in one enumeration: looking for the best visits what resuming after each solution visits,
/// in the same order, without copying the assignment for each of them.
void searchAll(const QList<LinePP>& lines, TSTemplate* templ, bool allowReversed, Results& results) {
    std::vector<LinePP> segments(lines.begin(), lines.end());
    int* codes = nullptr;
    templateSearch(segments.data(), Internal::countOf(lines), templ->getTemplateLinesNumber(),
                   &Internal::templateCheck, templ, &collect, &results, /*findBest=*/true, allowReversed,
                   codes);
    delete[] codes;
}

}  // namespace

bool findTemplate(const KvProfile& profile, TSTemplate* templ, const TSFindTemplateParams& params,
                  QList<LinePP>& lines, QList<TSLinesIndecies>& results) {
    lines.clear();
    results.clear();
    const std::vector<KvVector2D<double>> points = widened(profile.points);
    Internal::extractSegments(points.data(), static_cast<int>(points.size()), params, lines);
    if (templ == nullptr)
        return true;
    if (templ->getTemplateLinesNumber() == 0)
        results.append(storedOrder(Internal::countOf(lines)));
    else
        searchAll(lines, templ, params.allowReversed, results);
    return true;
}

bool evalLinesSet(QList<LinePP>& lines, TSLinesIndecies& indices, TSMeasurementList& measurements) {
    bool succeeded = true;
    const QList<TSMeasurement*> all = measurements.getAllMeasurements();
    for (TSMeasurement* measurement : all) {
        if (!measurement->measure(lines, indices))
            succeeded = false;
    }
    return succeeded;
}

}  // namespace KvMath
