// Depth-first enumeration of assignments. Each code tried costs one look at a bit (is the segment used by an
// earlier line?) and, if free, one call of the check. The assignment and the bits share the one scratch block
// of a call.

#include <kvmath/tsearch/search.h>

#include <kvmath/tsearch/assignment_p.h>
#include <kvmath/tsearch/bounds_p.h>
#include <kvmath/tsearch/directions_p.h>
#include <kvmath/tsearch/search_p.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

namespace KvMath {

using namespace Internal;

namespace {

constexpr int kMaxTemplateLines = 65536;
constexpr qint64 kMaxTableEntries = 1LL << 24;

struct Callbacks {
    bool (*check)(LinePP*, int*, int, void*);
    void* checkData;
    bool (*best)(LinePP*, int*, int*, int, void*);
    void* bestData;
};

/// True when none of the first `count` codes is negative.
bool isAssigned(const int* codes, int count) {
    for (int k = 0; k < count; ++k) {
        if (codes[k] < 0)
            return false;
    }
    return true;
}

/// Codes of levels below the last name segments; the last may be the fill.
bool isResumable(const int* codes, int nTemplateLines, qint64 codeEnd, int step) {
    const auto names = [codeEnd](int code) { return code >= 0 && code < codeEnd; };
    const int last = codes[nTemplateLines - 1];
    return std::all_of(codes, codes + nTemplateLines - 1, names) && last >= -step && last < codeEnd;
}

/// One walk through the tree, from the codes or, for null, from its begin. Levels below `level_` hold
/// segments, which are marked as used.
class Enumeration {
public:
    Enumeration(LinePP* lines, int nLines, int nTemplateLines, int step, const Callbacks& calls,
                const int* codes, int level)
        : lines_(lines), lineCount_(nTemplateLines), step_(step), codeEnd_(2 * static_cast<qint64>(nLines)),
          calls_(calls), level_(level) {
        const size_t words = scratchWords(nLines, nTemplateLines);
        if (words > few_.size())
            many_.reset(new unsigned[words]);
        unsigned* const scratch = words > few_.size() ? many_.get() : few_.data();
        codes_ = reinterpret_cast<int*>(scratch);
        used_ = scratch + nTemplateLines;
        if (codes == nullptr)
            std::fill(codes_, codes_ + nTemplateLines, -step);
        else
            std::copy(codes, codes + nTemplateLines, codes_);
        std::fill(used_, scratch + words, 0U);
        for (int k = 0; k < level; ++k)
            mark(codes_[k]);
    }

    /// Advances to the next complete assignment that the check accepts; false behind the last one.
    bool next() {
        while (level_ >= 0) {
            const qint64 code = static_cast<qint64>(codes_[level_]) + step_;
            if (code >= codeEnd_ || code > std::numeric_limits<int>::max()) {
                retreat();
                continue;
            }
            codes_[level_] = static_cast<int>(code);
            if (isUsed(codes_[level_]) || !accepts())
                continue;
            if (level_ + 1 == lineCount_)
                return true;
            mark(codes_[level_++]);
        }
        return false;
    }

    int* codes() { return codes_; }

private:
    static size_t scratchWords(int nLines, int nTemplateLines) {
        return static_cast<size_t>(nTemplateLines) + static_cast<size_t>(nLines) / 32 + 1;
    }

    static unsigned bit(int code) { return 1U << (static_cast<unsigned>(segmentOf(code)) % 32); }
    unsigned& word(int code) { return used_[segmentOf(code) / 32]; }
    bool isUsed(int code) { return (word(code) & bit(code)) != 0; }
    void mark(int code) { word(code) |= bit(code); }
    bool accepts() {
        return calls_.check == nullptr || calls_.check(lines_, codes_, level_, calls_.checkData);
    }

    /// Back to the level below, whose segment becomes free, unless a handed-in assignment names it twice.
    void retreat() {
        codes_[level_--] = -step_;
        if (level_ < 0)
            return;
        const int code = codes_[level_];
        const auto sameSegment = [code](int other) { return segmentOf(other) == segmentOf(code); };
        if (std::none_of(codes_, codes_ + level_, sameSegment))
            word(code) &= ~bit(code);
    }

    LinePP* lines_;
    int lineCount_, step_;
    qint64 codeEnd_;
    Callbacks calls_;
    std::array<unsigned, 64> few_;  // a search for a few lines needs no heap
    std::unique_ptr<unsigned[]> many_;
    int* codes_ = nullptr;
    unsigned* used_ = nullptr;
    int level_;
};

double bound(const double* table, qint64 k) { return table != nullptr ? table[k] : kNoTableBound; }

/// Unset bounds and NaN values pass.
bool isWithin(double value, double lower, double upper) {
    return !(isTableBound(upper) && value > upper) && !(isTableBound(lower) && lower > value);
}

/// Sign of root(square) - bound; 0 when one of them is NaN. The root itself is taken only where the squares
/// are so near that its rounding could decide.
int compareRoot(double square, double bound) {
    constexpr double kMargin = 1e-14;
    if (bound > 1e-150 && bound < 1e150) {
        if (square > bound * bound * (1 + kMargin))
            return 1;
        if (square < bound * bound * (1 - kMargin))
            return -1;
    }
    const double root = std::sqrt(square);
    return root > bound ? 1 : (bound > root ? -1 : 0);
}

/// Also false when one of the lines is not assigned. Each bound must hold, so the order is free: most bounds
/// are between neighbouring lines, so that these reject first.
bool distancesHold(const LinePP* lines, const int* codes, int level, const DefaultCheckFunctionParams& p) {
    if (codes[level] < 0)
        return false;
    const KvVector2D<double>& start = startOf(lines, codes[level]);
    for (int j = level - 1; j >= 0; --j) {
        if (codes[j] < 0)
            return false;
        const qint64 k = static_cast<qint64>(level) * p.linesNumber + j;
        const double lower = bound(p.minDistance, k);
        const double upper = bound(p.maxDistance, k);
        if (!isTableBound(lower) && !isTableBound(upper))
            continue;
        const double square = squareOf(between(endOf(lines, codes[j]), start));
        if ((isTableBound(upper) && compareRoot(square, upper) > 0) ||
            (isTableBound(lower) && compareRoot(square, lower) < 0))
            return false;
    }
    return true;
}

KvVector2D<double> unitDirection(const LinePP* lines, int code) {
    const KvVector2D<double> d = directionOf(lines, code);
    const double norm = lengthOf(d);
    return {d.x / norm, d.y / norm};
}

bool anglesHold(const LinePP* lines, const int* codes, int level, const DefaultCheckFunctionParams& p) {
    const KvVector2D<double> u = unitDirection(lines, codes[level]);
    for (int j = level - 1; j >= 0; --j) {
        const qint64 k = static_cast<qint64>(level) * p.linesNumber + j;
        const double lower = bound(p.minAngle, k);
        const double upper = bound(p.maxAngle, k);
        // By design the sense of turn is judged only together with an angle bound.
        if (!isTableBound(lower) && !isTableBound(upper))
            continue;
        const KvVector2D<double> w = unitDirection(lines, codes[j]);
        const int turn = w.x * u.y - w.y * u.x > 0 ? 1 : -1;
        const int required = p.rotationSign != nullptr ? p.rotationSign[k] : 0;
        if (required != 0 && turn != required)
            return false;
        if (!isWithin(angleOfCosine(w.x * u.x + w.y * u.y), lower, upper))
            return false;
    }
    return true;
}

double totalLength(const LinePP* lines, const int* codes, int nTemplateLines) {
    double sum = 0;
    for (int k = 0; k < nTemplateLines; ++k) {
        const LinePP& segment = lines[segmentOf(codes[k])];
        sum += lengthOf({segment.p2.x - segment.p1.x, segment.p2.y - segment.p1.y});
    }
    return sum;
}

}  // namespace

bool templateSearch(LinePP* lines, int nLines, int nTemplateLines, bool (*check)(LinePP*, int*, int, void*),
                    void* checkData, bool (*best)(LinePP*, int*, int*, int, void*), void* bestData,
                    bool findBest, bool allowReversed, int*& result) {
    if (nTemplateLines < 1 || nTemplateLines > kMaxTemplateLines)
        return false;
    const int step = allowReversed ? 1 : 2;
    const bool fresh = result == nullptr;
    if (fresh) {
        result = new int[static_cast<size_t>(nTemplateLines)];
        std::fill(result, result + nTemplateLines, -step);
    }
    if (nTemplateLines > nLines)
        return false;
    if (!fresh && !isResumable(result, nTemplateLines, 2 * static_cast<qint64>(nLines), step))
        return false;

    const Callbacks calls{check, checkData, best != nullptr ? best : &defaultBestFunction, bestData};
    Enumeration enumeration(lines, nLines, nTemplateLines, step, calls, result,
                            fresh ? 0 : nTemplateLines - 1);
    bool found = false;
    while (enumeration.next()) {
        found = true;
        int* codes = enumeration.codes();
        if (!findBest || calls.best(lines, codes, result, nTemplateLines, calls.bestData))
            std::copy(codes, codes + nTemplateLines, result);
        if (!findBest)
            break;
    }
    return found;
}

void Internal::forEachAssignment(LinePP* lines, int nLines, int nTemplateLines,
                                 bool (*check)(LinePP*, int*, int, void*), void* checkData,
                                 bool allowReversed, void (*visit)(const int*, int, void*), void* visitData) {
    if (nTemplateLines < 1 || nTemplateLines > kMaxTemplateLines || nTemplateLines > nLines)
        return;
    Enumeration enumeration(lines, nLines, nTemplateLines, allowReversed ? 1 : 2,
                            {check, checkData, nullptr, nullptr}, nullptr, 0);
    while (enumeration.next())
        visit(enumeration.codes(), nTemplateLines, visitData);
}

bool defaultCheckFunction(LinePP* lines, int* assignment, int level, void* params) {
    if (lines == nullptr || assignment == nullptr || params == nullptr || level < 0)
        return false;
    const auto& p = *static_cast<const DefaultCheckFunctionParams*>(params);
    if (level > 0 && level >= p.linesNumber)
        return false;
    return distancesHold(lines, assignment, level, p) && anglesHold(lines, assignment, level, p);
}

bool defaultBestFunction(LinePP* lines, int* candidate, int* currentBest, int nTemplateLines,
                         void* /*unused*/) {
    if (candidate == nullptr || currentBest == nullptr)
        return false;
    if (!isAssigned(currentBest, nTemplateLines))
        return true;
    return lines != nullptr && isAssigned(candidate, nTemplateLines) &&
           totalLength(lines, candidate, nTemplateLines) > totalLength(lines, currentBest, nTemplateLines);
}

void initDefaultCheckFunctionParams(DefaultCheckFunctionParams& params, int T) {
    const qint64 entries = static_cast<qint64>(T) * T;
    if (T < 1 || entries > kMaxTableEntries) {
        params = {0, nullptr, nullptr, nullptr, nullptr, nullptr};
        return;
    }
    const auto newTable = [entries] {
        auto* table = new double[static_cast<size_t>(entries)];
        std::fill(table, table + entries, kNoTableBound);
        return table;
    };
    params.linesNumber = T;
    params.maxDistance = newTable();
    params.minDistance = newTable();
    params.maxAngle = newTable();
    params.minAngle = newTable();
    params.rotationSign = new int[static_cast<size_t>(entries)]();
}

void clearDefaultCheckFunctionParams(DefaultCheckFunctionParams params) {
    delete[] params.maxDistance;
    delete[] params.minDistance;
    delete[] params.maxAngle;
    delete[] params.minAngle;
    delete[] params.rotationSign;
}

}  // namespace KvMath
