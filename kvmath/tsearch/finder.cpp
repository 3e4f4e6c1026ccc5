#include <kvmath/tsearch/finder.h>

#include <kvmath/base/count_p.h>
#include <kvmath/numerics/scratch_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_extraction_p.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/search.h>
#include <kvmath/tsearch/template.h>
#include <kvmath/tsearch/template_check_p.h>

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace KvMath {

namespace {

using Results = QList<TSLinesIndecies>;

/// The points in double, in storage that nothing fills before.
class WidePoints {
public:
    explicit WidePoints(const QList<KvPointXY>& points)
        : size_(Internal::countOf(points)), scratch_(2 * static_cast<std::ptrdiff_t>(size_)) {
        if (scratch_.data() == nullptr)
            throw std::bad_alloc();
        const auto from = points.constBegin();
        const auto to = static_cast<KvVector2D<double>*>(static_cast<void*>(scratch_.data()));
        for (int i = 0; i < size_; ++i)
            ::new (to + i) KvVector2D<double>(static_cast<double>(from[i].x), static_cast<double>(from[i].y));
        points_ = to;
    }
    const KvVector2D<double>* data() const { return points_; }
    int size() const { return size_; }

private:
    int size_;
    Internal::Scratch scratch_;
    const KvVector2D<double>* points_ = nullptr;
};

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
    const WidePoints points(profile.points);
    Internal::extractSegments(points.data(), points.size(), params, lines);
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
