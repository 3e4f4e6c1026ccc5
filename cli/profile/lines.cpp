// lines: the segments of a profile, with the points that lie along each. Points and segments both follow the
// scan, so that one pass gives each point to its segment.
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/exit_code.h"
#include "cli/pictures.h"
#include "cli/profile/options.h"
#include "cli/profile/text_options.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/drawing/profile_picture.h>
#include <kvmeasure/profiles/line_pieces.h>
#include <kvmeasure/profiles/search_estimate.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <cmath>

namespace KvMeasure {

using KvMath::LinePP;

namespace {

const Usage usage = withTextOptions(with(
    {"lines",
     "PROFILE",
     "Shows the contours of a profile and the straight segments found in them.",
     {{"--record", "N", "which profile of a file with several, from 0 (0)"},
      {"--raw", "", "shows the segments as the search leaves them, those of one surface not joined"},
      {"--svg", "PICTURE", "draw the segments over the points"}},
     "A segment's points are those of its contour that lie along it, nearer than the split deviation and to "
     "no\n"
     "other segment; rms is their deviation square to it. Both are left out where fewer than three points "
     "lie on\n"
     "it, as on a steep wall. Segments are numbered as in teach.\n\n"
     "Examples\n"
     "  kvmeasure lines part.csv --svg lines.svg\n"
     "  kvmeasure lines part.csv --split 0.08 --min-length 2 --json\n"},
    searchOptions()));

/// A segment with what the points say of it.
struct Found {
    LinePP line;
    int contour = 0;
    int points = 0;
    double squares = 0;  // mm^2, sum of the deviations'

    /// Two points always lie on a line: they say nothing of it.
    bool isSupported() const { return points > 2; }
    double rms() const { return isSupported() ? std::sqrt(squares / points) : std::nan(""); }
};

struct Contour {
    ContourPoints points;
    int segments = 0;
};

QList<Contour> contoursOf(const ProfilePieces& pieces) {
    QList<Contour> contours;
    for (const ContourPoints& points : pieces.contours)
        contours.append({points, 0});
    for (const int piece : pieces.pieceOf)
        ++contours[pieces.pieces[std::size_t(piece)].contour].segments;
    return contours;
}

QList<Found> segmentsOf(const ProfilePieces& pieces) {
    QList<Found> found;
    for (const int index : pieces.pieceOf) {
        const Piece& piece = pieces.pieces[std::size_t(index)];
        found.append({piece.line, piece.contour});
    }
    return found;
}

/// Place of a point along a segment, 0 to 1 from end to end, and its distances.
struct Foot {
    double share = 0, across = 0, distance = 0;  // mm square to the line, and to the segment itself
};

Foot footOn(const LinePP& line, const Vector& point) {
    const Vector along(line.p2.x - line.p1.x, line.p2.y - line.p1.y);
    const Vector to(point.x - line.p1.x, point.y - line.p1.y);
    const double size = length(line.p1, line.p2);
    Foot foot;
    foot.share = (to.x * along.x + to.y * along.y) / (size * size);
    foot.across = std::fabs(along.x * to.y - along.y * to.x) / size;
    const double within = std::min(std::max(foot.share, 0.0), 1.0);
    foot.distance = length({along.x * within, along.y * within}, to);
    return foot;
}

/// Gives each point to a segment. Both follow the scan, so that one pass suffices.
void collectPoints(const Contour& contour, double tolerance, QList<Found>& found, int first) {
    constexpr double kRounding = 1e-9;  // of the length: end points lie at 0 and 1
    const int end = first + contour.segments;
    int at = first;
    for (const Vector& point : contour.points) {
        if (at == end)
            return;
        Foot foot = footOn(found[at].line, point);
        while (at + 1 < end) {
            const Foot next = footOn(found[at + 1].line, point);
            if (next.distance >= foot.distance)
                break;
            foot = next;
            ++at;
        }
        if (foot.share < -kRounding || foot.share > 1 + kRounding || !(foot.across < tolerance))
            continue;
        ++found[at].points;
        found[at].squares += foot.across * foot.across;
    }
}

QString linesText(const LoadedProfile& loaded, const QList<Contour>& contours, const QList<Found>& found,
                  const KvMath::TSFindTemplateParams& search) {
    QString text = printable(loaded.name) + ": " + counted(loaded.profile.points.size(), "point") + ", " +
                   counted(contours.size(), "contour") + ", " + counted(found.size(), "segment") + '\n';
    Table table(
        {"contour", "segment", "length mm", "direction deg", "x1", "y1", "x2", "y2", "points", "rms mm"});
    for (int i = 0; i < found.size(); ++i) {
        const LinePP& line = found[i].line;
        table.add({QString::number(found[i].contour), QString::number(i), mm(length(line.p1, line.p2)),
                   fixed(direction(line), 2), mm(line.p1.x), mm(line.p1.y), mm(line.p2.x), mm(line.p2.y),
                   found[i].isSupported() ? QString::number(found[i].points) : QString("-"),
                   found[i].isSupported() ? mm(found[i].rms()) : QString("-")});
    }
    return text + table.text() + searchText(search);
}

QJsonObject linesJson(const LoadedProfile& loaded, const QList<Contour>& contours, const QList<Found>& found,
                      const KvMath::TSFindTemplateParams& search) {
    QJsonArray contourList;
    for (const Contour& contour : contours)
        contourList.append(
            QJsonObject{{"points", int(contour.points.size())}, {"segments", contour.segments}});
    QJsonArray segments;
    for (const Found& segment : found)
        segments.append(QJsonObject{{"contour", segment.contour},
                                    {"p1", jsonPoint(segment.line.p1)},
                                    {"p2", jsonPoint(segment.line.p2)},
                                    {"length", jsonNumber(length(segment.line.p1, segment.line.p2))},
                                    {"direction", jsonNumber(direction(segment.line))},
                                    {"points", segment.points},
                                    {"rms", jsonNumber(segment.rms())}});
    return {{"file", loaded.name},
            {"points", loaded.profile.points.size()},
            {"contours", contourList},
            {"segments", segments},
            {"search", jsonSearch(search)}};
}

}  // namespace

int runLines(const QStringList& words) {
    const Arguments arguments(usage, words, 1, 1);
    refuseOverwriting({arguments.text("--svg")}, arguments.operands());
    const LoadedProfile loaded = takeProfile(arguments);
    KvMath::TSFindTemplateParams search = estimateSearch(loaded.profile);
    applySearchOptions(arguments, search);
    const ProfilePieces pieces =
        findPieces(loaded.profile, search, arguments.has("--raw") ? Pieces::AsFound : Pieces::Joined);
    const QList<Contour> contours = contoursOf(pieces);
    QList<Found> found = segmentsOf(pieces);
    int first = 0;
    for (const Contour& contour : contours) {
        collectPoints(contour, search.splitTolerance, found, first);
        first += contour.segments;
    }
    Picture picture;
    picture.segments = pieces.segments;
    if (arguments.has("--svg")) {
        picture.title = loaded.stem + ": segments found";
        picture.profile = loaded.profile;
        picture.numberSegments = true;
        writePicture(arguments.text("--svg"), [&] { return drawPicture(picture); });
    }
    if (arguments.isJson())
        printJson(linesJson(loaded, contours, found, search));
    else
        print(linesText(loaded, contours, found, search));
    return Done;
}

}  // namespace KvMeasure
