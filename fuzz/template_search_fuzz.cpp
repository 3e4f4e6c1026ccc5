// Searches with any bounds: the enumeration of assignments, and templates on profiles.

#include "fuzz/fuzz_input.h"

#include <kvmath/profile/profile.h>
#include <kvmath/tsearch/constraints.h>
#include <kvmath/tsearch/finder.h>
#include <kvmath/tsearch/search.h>
#include <kvmath/tsearch/template.h>

#include <memory>
#include <set>
#include <vector>

namespace {

void enumerate(Fuzz::Input& input) {
    const int lines = input.below(5), templateLines = input.below(6) - 1;
    std::vector<KvMath::LinePP> segments;
    for (int i = 0; i < lines; ++i)
        segments.push_back(input.line());
    KvMath::DefaultCheckFunctionParams bounds{};
    KvMath::initDefaultCheckFunctionParams(bounds, templateLines);
    for (int i = 0; i < bounds.linesNumber * bounds.linesNumber; ++i) {
        for (double* table : {bounds.maxDistance, bounds.minDistance, bounds.maxAngle, bounds.minAngle})
            table[i] = input.below(4) == 1 ? input.number() : table[i];
        bounds.rotationSign[i] = input.below(4) == 1 ? input.integer() : bounds.rotationSign[i];
    }
    const bool findBest = input.flag(), allowReversed = input.flag();
    int* result = nullptr;
    if (input.below(8) == 1) {
        result = new int[size_t(qMax(templateLines, 1))];
        for (int i = 0; i < qMax(templateLines, 1); ++i)
            result[i] = input.integer();
    }
    std::set<std::vector<int>> seen;
    int searches = 0;
    while (KvMath::templateSearch(segments.data(), lines, templateLines, KvMath::defaultCheckFunction,
                                  &bounds, KvMath::defaultBestFunction, nullptr, findBest, allowReversed,
                                  result)) {
        const std::vector<int> codes(result, result + templateLines);
        for (const int code : codes)
            Fuzz::require(code >= 0 && code < 2 * lines, "a code names a segment");
        if (findBest && ++searches > 1)
            break;  // the assignment handed in stays where no better one follows
        Fuzz::require(findBest || seen.insert(codes).second, "no assignment is found twice");
    }
    delete[] result;
    KvMath::clearDefaultCheckFunctionParams(bounds);
}

KvMath::TSConstraint* anyConstraint(Fuzz::Input& in) {
    const int kind = in.below(6), from = in.below(4), to = in.below(4);
    const double lower = in.number(), upper = in.number();
    if (kind == 0)
        return new KvMath::TSCLength(from, lower, upper);
    if (kind == 1)
        return new KvMath::TSCInclinationAngle(from, lower, upper);
    if (kind == 2)
        return new KvMath::TSCEndPointDistance(from, to, lower, upper);
    if (kind == 3)
        return new KvMath::TSCEndPointDistanceWithCheck(from, to, lower, upper);
    const auto direction = KvMath::TSCRotationAngle::Direction(in.below(4));
    if (kind == 4)
        return new KvMath::TSCRotationAngle(from, to, lower, upper, direction);
    return new KvMath::TSCEndPointShiftInDirection(from, to, lower, upper, in.number(), in.flag());
}

void find(Fuzz::Input& input) {
    KvMath::TSTemplate lines(input.below(4));
    for (int i = input.below(5); i > 0; --i) {
        std::unique_ptr<KvMath::TSConstraint> constraint(anyConstraint(input));
        if (lines.addConstraint(constraint.get()))
            static_cast<void>(constraint.release());
    }
    const KvMath::TSFindTemplateParams params = {input.number(), input.number(), input.below(8),
                                                 input.number(), input.flag(),   input.number()};
    KvMath::KvProfile profile;
    // Three lines in a dozen segments are ten thousand assignments, all of them returned.
    profile.points = input.points<KvMath::KvPointXY>(lines.getTemplateLinesNumber() > 2 ? 13 : 40);
    QList<KvMath::LinePP> segments;
    QList<KvMath::TSLinesIndecies> results;
    Fuzz::require(KvMath::findTemplate(profile, &lines, params, segments, results), "always true");
    for (const KvMath::TSLinesIndecies& match : results)
        for (int line = 0, segment = 0; line < match.count(); ++line)
            Fuzz::require(match.getLineIndex(line, segment) && segment >= 0 && segment < segments.size(),
                          "a match names segments");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    if (input.flag())
        enumerate(input);
    else
        find(input);
    return 0;
}
