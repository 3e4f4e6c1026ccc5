#include <kvmath/tsearch/lines_indices.h>

#include <kvmath/base/count_p.h>
#include <kvmath/tsearch/assignment_p.h>

#include <algorithm>

namespace KvMath {

TSLinesIndecies::TSLinesIndecies(const int* codes, int count) {
    if (codes == nullptr || count < 1)
        return;
    codes_.reserve(count);
    for (int line = 0; line < count; ++line)
        codes_.append(codes[line]);
}

void TSLinesIndecies::setCodes(const int* codes, int count) {
    if (codes == nullptr || count < 1 || codes_.size() != count) {
        *this = TSLinesIndecies(codes, count);
        return;
    }
    std::copy(codes, codes + count, codes_.begin());
}

bool TSLinesIndecies::getLineIndex(int templateLine, int& segment) const {
    const bool inRange = templateLine >= 0 && templateLine < codes_.size();
    segment = inRange ? Internal::segmentOf(codes_.at(templateLine)) : 0;
    return inRange;
}

bool TSLinesIndecies::getLineOrientation(int templateLine, bool& reversed) const {
    const bool inRange = templateLine >= 0 && templateLine < codes_.size();
    reversed = inRange && Internal::isReversed(codes_.at(templateLine));
    return inRange;
}

bool TSLinesIndecies::isAssigned(int templateLine) const {
    return templateLine >= 0 && templateLine < codes_.size() && codes_.at(templateLine) >= 0;
}

int TSLinesIndecies::code(int templateLine) const { return codes_.value(templateLine, -1); }

bool TSLinesIndecies::isReversed(int templateLine) const {
    bool reversed = false;
    getLineOrientation(templateLine, reversed);
    return reversed;
}

bool TSLinesIndecies::getLine(const QList<LinePP>& segments, int templateLine, LinePP& line) const {
    if (!isAssigned(templateLine) || Internal::segmentOf(codes_.at(templateLine)) >= segments.size())
        return false;
    line = Internal::directed(segments.at(Internal::segmentOf(codes_.at(templateLine))),
                              codes_.at(templateLine));
    return true;
}

int TSLinesIndecies::count() const { return Internal::countOf(codes_); }

}  // namespace KvMath
