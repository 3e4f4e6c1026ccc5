// From a profile to matches. Points become double in storage that is kept, pieces are found in flat arrays,
// and every assignment that the enumeration accepts is written over the match of the profile before. So the
// lists that are given back cost nothing when they are filled again; a QList of Qt 5 holds a block of memory
// for every segment. Time is that of finding the pieces, which grows as the number of points, and of the
// enumeration.

#include <kvmath/tsearch/finder.h>

#include <kvmath/base/count_p.h>
#include <kvmath/profile/profile.h>
#include <kvmath/segments/line_extraction_p.h>
#include <kvmath/tsearch/measurement_list.h>
#include <kvmath/tsearch/search_p.h>
#include <kvmath/tsearch/template.h>
#include <kvmath/tsearch/template_check_p.h>

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace KvMath {

namespace {

using Results = QList<TSLinesIndecies>;

/// The first `count` elements of a list, which is made longer where it has fewer; `take` shortens it at last.
template <class List>
class Refilled {
public:
    explicit Refilled(List& list) : list_(list) {}

    auto& next() {
        if (count_ == list_.size())
            list_.append(typename List::value_type());
        return list_[count_++];
    }
    void take() {
        while (list_.size() > count_)
            list_.removeLast();
    }

private:
    List& list_;
    decltype(list_.size()) count_ = 0;
};

void addCodes(const int* codes, int count, void* results) {
    static_cast<Refilled<Results>*>(results)->next().setCodes(codes, count);
}

}  // namespace

struct TemplateFinder::State {
    std::unique_ptr<double[]> coordinates;
    std::size_t room = 0;  ///< of the coordinates, in points
    Internal::SegmentScratch scratch;
    std::vector<LinePP> segments;
    std::vector<int> codes;

    const KvVector2D<double>* wide(const QList<KvPointXY>& points);
    void search(TSTemplate& templ, bool allowReversed, Refilled<Results>& results);
};

/// The points in double, in storage that nothing fills before.
const KvVector2D<double>* TemplateFinder::State::wide(const QList<KvPointXY>& points) {
    const int size = Internal::countOf(points);
    if (static_cast<std::size_t>(size) > room) {
        room = 0;
        coordinates.reset(new double[2 * static_cast<std::size_t>(size)]);
        room = static_cast<std::size_t>(size);
    }
    const auto from = points.constBegin();
    const auto to = static_cast<KvVector2D<double>*>(static_cast<void*>(coordinates.get()));
    for (int i = 0; i < size; ++i)
        ::new (to + i) KvVector2D<double>(static_cast<double>(from[i].x), static_cast<double>(from[i].y));
    return to;
}

/// All assignments in one enumeration: looking for the best visits what resuming after each solution visits,
/// in the same order, without copying the assignment for each of them.
void TemplateFinder::State::search(TSTemplate& templ, bool allowReversed, Refilled<Results>& results) {
    const int count = static_cast<int>(segments.size());
    if (templ.getTemplateLinesNumber() == 0) {
        codes.clear();
        for (int segment = 0; segment < count; ++segment)
            codes.push_back(2 * segment);
        results.next().setCodes(codes.data(), count);
        return;
    }
    Internal::forEachAssignment(segments.data(), count, templ.getTemplateLinesNumber(),
                                &Internal::templateCheck, &templ, allowReversed, &addCodes, &results);
}

TemplateFinder::TemplateFinder() : state_(new State) {}
TemplateFinder::~TemplateFinder() = default;

bool TemplateFinder::find(const KvProfile& profile, TSTemplate* templ, const TSFindTemplateParams& params,
                          QList<LinePP>& lines, QList<TSLinesIndecies>& results) {
    State& state = *state_;
    Internal::extractSegments(state.wide(profile.points), Internal::countOf(profile.points), params,
                              state.scratch, state.segments);
    Refilled<QList<LinePP>> found(lines);
    for (const LinePP& segment : state.segments)
        found.next() = segment;
    found.take();
    Refilled<Results> matches(results);
    if (templ != nullptr)
        state.search(*templ, params.allowReversed, matches);
    matches.take();
    return true;
}

bool findTemplate(const KvProfile& profile, TSTemplate* templ, const TSFindTemplateParams& params,
                  QList<LinePP>& lines, QList<TSLinesIndecies>& results) {
    return TemplateFinder().find(profile, templ, params, lines, results);
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
