#include "kvmeasure/arguments.h"
#include "kvmeasure/commands.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/output_file.h"
#include "kvmeasure/plot.h"
#include "kvmeasure/print.h"
#include "kvmeasure/profile_sequence.h"
#include "kvmeasure/search_defaults.h"

#include <kvmath/tsearch/line_extraction.h>

#include <cmath>

namespace KvMeasure {

using KvMath::LinePP;

namespace {

const Usage usage = with(
    {"lines",
     "PROFILE",
     "Shows the contours of a profile and the straight segments found in them.",
     {{"--record", "N", "which profile of a file with several, from 0 (0)"},
      {"--columns", "X,Y", "columns of a CSV file, from 1 (1,2)"},
      {"--svg", "FILE", "draw the segments over the points"}},
     "A segment's points are those of its contour that lie along it, nearer than the split deviation and to "
     "no\n"
     "other segment; rms is their deviation square to it. Segments are numbered as in teach.\n\n"
     "Examples\n"
     "  kvmeasure lines part.csv --svg lines.svg\n"
     "  kvmeasure lines part.csv --split 0.08 --min-length 2 --json\n"},
    searchOptions());

/// A segment with what the points say of it.
struct Found {
    LinePP line;
    int contour = 0;
    int points = 0;
    double squares = 0;  // mm^2, sum of the deviations'

    double rms() const { return points > 0 ? std::sqrt(squares / points) : std::nan(""); }
};

struct Contour {
    QList<Vector> points;
    int segments = 0;
};

QList<Contour> findContours(const KvMath::KvProfile& profile, double gap) {
    std::vector<Vector> points;
    for (const KvMath::KvPointXY& point : profile.points)
        points.emplace_back(double(point.x), double(point.y));
    Vector** arrays = nullptr;
    int* sizes = nullptr;
    int count = 0;
    KvMath::profile2contours(points.data(), static_cast<int>(points.size()), gap, arrays, count, sizes);
    QList<Contour> contours;
    for (int i = 0; i < count; ++i) {
        Contour contour;
        for (int k = 0; k < sizes[i]; ++k)
            contour.points.append(arrays[i][k]);
        contours.append(contour);
        delete[] arrays[i];
    }
    delete[] arrays;
    delete[] sizes;
    return contours;
}

/// Adds the segments of one contour, by the same steps as the search.
void addSegments(Contour& contour, int index, const KvMath::TSFindTemplateParams& search,
                 QList<Found>& found) {
    int* breaks = nullptr;
    int count = 0;
    Vector* vertices = nullptr;
    const std::vector<Vector> points(contour.points.begin(), contour.points.end());
    KvMath::contour2lines(points.data(), static_cast<int>(points.size()), search.splitTolerance,
                          search.refineIterations, search.cornerTolerance, breaks, count, vertices);
    for (int i = 0; vertices != nullptr && i + 1 < count; ++i) {
        if (!(length(vertices[i], vertices[i + 1]) > search.minLineLength))
            continue;
        Found segment;
        segment.line = LinePP(vertices[i], vertices[i + 1]);
        segment.contour = index;
        found.append(segment);
        ++contour.segments;
    }
    delete[] breaks;
    delete[] vertices;
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
        if (foot.share < 0 || foot.share > 1 || !(foot.across < tolerance))
            continue;
        ++found[at].points;
        found[at].squares += foot.across * foot.across;
    }
}

QString linesText(const LoadedProfile& loaded, const QList<Contour>& contours, const QList<Found>& found) {
    QString text = QString("%1: %2 points, %3 contours, %4 segments\n")
                       .arg(loaded.name)
                       .arg(loaded.profile.points.size())
                       .arg(contours.size())
                       .arg(found.size());
    Table table(
        {"contour", "segment", "length mm", "direction deg", "x1", "y1", "x2", "y2", "points", "rms mm"});
    for (int i = 0; i < found.size(); ++i) {
        const LinePP& line = found[i].line;
        table.add({QString::number(found[i].contour), QString::number(i), mm(length(line.p1, line.p2)),
                   fixed(direction(line), 2), mm(line.p1.x), mm(line.p1.y), mm(line.p2.x), mm(line.p2.y),
                   QString::number(found[i].points),
                   found[i].points > 0 ? mm(found[i].rms()) : QString("-")});
    }
    return text + table.text();
}

QJsonObject linesJson(const LoadedProfile& loaded, const QList<Contour>& contours, const QList<Found>& found,
                      const KvMath::TSFindTemplateParams& search) {
    QJsonArray contourList;
    for (const Contour& contour : contours)
        contourList.append(QJsonObject{{"points", contour.points.size()}, {"segments", contour.segments}});
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
    QList<Contour> contours = findContours(loaded.profile, search.contourGap);
    QList<Found> found;
    Picture picture;
    for (int i = 0; i < contours.size(); ++i) {
        const int first = static_cast<int>(found.size());
        addSegments(contours[i], i, search, found);
        collectPoints(contours[i], search.splitTolerance, found, first);
    }
    for (const Found& segment : found)
        picture.segments.append(segment.line);
    if (arguments.has("--svg")) {
        picture.title = loaded.stem + ": segments found";
        picture.profile = loaded.profile;
        picture.numberSegments = true;
        writeOutputFile(arguments.text("--svg"), drawPicture(picture));
    }
    if (arguments.isJson())
        printJson(linesJson(loaded, contours, found, search));
    else
        print(linesText(loaded, contours, found));
    return Done;
}

}  // namespace KvMeasure
