// Each end of a matched piece is looked at with its neighbour in the order of the profile, and what is there
// is held against what stood there on the taught part.

#include <kvmeasure/inspection/line_ends.h>

#include <kvmeasure/base/filled_in.h>

#include <cmath>

namespace KvMeasure {

using KvMath::TSLinesIndecies;

namespace {

/// What lies beyond one end of a line.
struct Beyond {
    QString word;             ///< as lineEnds gives it
    double length = 0;        ///< mm, of the pieces that serve no template line, up to a segment
    bool isTooShort = false;  ///< the first of them is no segment
    QString next = {};        ///< the template line's end behind them, where there is one
};

QString endName(const QString& line, bool isStart) { return line + (isStart ? ".start" : ".end"); }

/// Looks from the ends of matched segments to their neighbours.
class EndReader {
public:
    EndReader(const ProfilePieces& found, const TSLinesIndecies& indices, const QStringList& names)
        : found_(found), indices_(indices), names_(names), lineOf_(found.pieces.size(), -1) {
        for (int line = 0; line < indices.count(); ++line) {
            if (indices.isAssigned(line))
                lineOf_[std::size_t(pieceOf(line))] = line;
        }
    }

    /// True where the line ends as it was taught, told without making words.
    bool isAsTaught(int line, bool atStart, const QString& taught) const {
        const int step = atStart != indices_.isReversed(line) ? -1 : 1;
        const int piece = pieceOf(line);
        if (found_.neighbour(piece, step) == nullptr)
            return taught == QLatin1String("free");
        const int at = piece + step;
        const int other = lineOf_[std::size_t(at)];
        if (other < 0)
            return taught == QLatin1String(runsOn(piece, at) ? "straight" : "bend");
        if (other >= names_.size())
            return false;
        const QLatin1String end((step > 0) != indices_.isReversed(other) ? ".start" : ".end");
        const QString& name = names_[other];
        return taught.size() == name.size() + end.size() && taught.startsWith(name) && taught.endsWith(end);
    }

    Beyond beyond(int line, bool atStart) const {
        const int step = atStart != indices_.isReversed(line) ? -1 : 1;
        const int piece = pieceOf(line);
        const Piece* neighbour = found_.neighbour(piece, step);
        if (neighbour == nullptr)
            return {"free"};
        int at = piece + step;
        if (lineOf_[std::size_t(at)] >= 0)
            return {nameOfEnd(at, step)};
        Beyond other{runsOn(piece, at) ? "straight" : "bend"};
        other.isTooShort = neighbour->segment < 0;
        while (neighbour != nullptr && lineOf_[std::size_t(at)] < 0) {
            other.length += length(neighbour->line.p1, neighbour->line.p2);
            neighbour = neighbour->segment < 0 ? found_.neighbour(at, step) : nullptr;
            at += step;
        }
        if (neighbour != nullptr)
            other.next = nameOfEnd(at, step);
        return other;
    }

private:
    int pieceOf(int line) const {
        int segment = 0;
        indices_.getLineIndex(line, segment);
        return found_.pieceOf[std::size_t(segment)];
    }

    /// The end of a matched piece that is met by walking on in the direction of step.
    QString nameOfEnd(int piece, int step) const {
        const int line = lineOf_[std::size_t(piece)];
        return endName(names_.value(line), (step > 0) != indices_.isReversed(line));
    }

    bool runsOn(int piece, int other) const {
        constexpr double kStraightDegrees = 20;
        const double turn = direction(found_.pieces[std::size_t(other)].line) -
                            direction(found_.pieces[std::size_t(piece)].line);
        return std::fabs(std::remainder(turn, 360.0)) < kStraightDegrees;
    }

    const ProfilePieces& found_;
    const TSLinesIndecies& indices_;
    const QStringList& names_;
    std::vector<int> lineOf_;  ///< template line of each piece, -1: none
};

QString between(const QString& one, const QString& other, const QStringList& names) {
    const auto lineOf = [&names](const QString& end) {
        return names.indexOf(end.left(end.lastIndexOf('.')));
    };
    return lineOf(one) < lineOf(other) ? one + " and " + other : other + " and " + one;
}

/// Empty where the end is as taught. `taught` is empty where that is not known.
QString warning(const QString& end, const QString& taught, const Beyond& seen, const QStringList& names) {
    const QString size = QString::number(seen.length, 'f', 2);
    if (taught == seen.word)
        return {};
    if (taught.isEmpty()) {
        if (seen.isTooShort && !seen.next.isEmpty())
            return filledIn("between %1 %2 mm are in no line", between(end, seen.next, names), size);
        if (seen.word != "straight")
            return {};
    }
    if (taught.contains('.')) {
        const QString both = between(end, taught, names);
        if (seen.word == "free")
            return filledIn("between %1 points are missing", both);
        if (seen.word.contains('.'))
            return filledIn("%1 meets %2, not %3 as taught", end, seen.word, taught);
        return filledIn("between %1 %2 mm are in no line", both, size);
    }
    if (seen.word == "free")
        return filledIn("%1 is cut short: points are missing beyond it", end);
    if (seen.word.contains('.'))
        return filledIn("%1 meets %2, which it did not when taught", end, seen.word);
    return filledIn("%1 is cut short: another piece of %2 mm follows", end, size);
}

}  // namespace

QList<QStringList> lineEnds(const ProfilePieces& found, const TSLinesIndecies& indices,
                            const QStringList& names) {
    const EndReader reader(found, indices, names);
    QList<QStringList> ends;
    for (int line = 0; line < indices.count(); ++line) {
        QStringList both;
        if (indices.isAssigned(line))
            both = QStringList{reader.beyond(line, true).word, reader.beyond(line, false).word};
        ends.append(both);
    }
    return ends;
}

QList<QStringList> endWarnings(const ProfilePieces& found, const TSLinesIndecies& indices,
                               const InspectionPlan& plan) {
    const EndReader reader(found, indices, plan.lineNames);
    const QString none;
    QList<QStringList> warnings;
    warnings.reserve(indices.count());
    for (int line = 0; line < indices.count(); ++line) {
        QStringList sentences;
        for (const bool atStart : {true, false}) {
            if (!indices.isAssigned(line))
                continue;
            const QString taught = line < plan.ends.size() ? plan.ends[line].value(atStart ? 0 : 1) : none;
            if (reader.isAsTaught(line, atStart, taught))
                continue;
            const QString text = warning(endName(plan.lineNames.value(line), atStart), taught,
                                         reader.beyond(line, atStart), plan.lineNames);
            if (!text.isEmpty())
                sentences.append(text);
        }
        warnings.append(sentences);
    }
    return warnings;
}

}  // namespace KvMeasure
