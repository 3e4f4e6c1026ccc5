// "kvmeasure form straightness", "flatness" and "roundness".

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/form/points.h"
#include "cli/pictures.h"
#include "cli/scan/course.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/zone_picture.h>
#include <kvmeasure/form/roundness.h>
#include <kvmeasure/form/straightness.h>
#include <kvmeasure/report/json.h>
#include <kvmeasure/report/table.h>

#include <QtCore/QFileInfo>

#include <cmath>

namespace KvMeasure {

namespace {

std::vector<Option> zoneOptions(bool isOfSurface) {
    std::vector<Option> all{{"--limit", "MM", "greatest minimum zone that is good"},
                            {"--svg", "PICTURE", "draw the zone with its contacts"}};
    const std::vector<Option> points = isOfSurface ? pointOptions() : profileOptions();
    for (const std::vector<Option>& more : {points, selectionOptions(isOfSurface)})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

const char* const lineDetails =
    "The minimum zone is the least distance of two parallel %1 that hold all points, exact to rounding; "
    "contacts are\n"
    "the points on them, by their rows from 0. The certificate names points that need a zone as wide by "
    "themselves.\n"
    "Along z (the last coordinate) widths are larger where the part is inclined. Text is read in doubles. "
    "Exit code 1:\n"
    "no zone, or wider than --limit.\n\n"
    "Examples\n"
    "  kvmeasure form %2 part.csv --svg zone.svg\n"
    "  kvmeasure form %2 part.csv --limit 0.05 --json\n";

const Usage straightnessUsage{
    "form straightness", "PROFILE",
    "Straightness of a profile: minimum zone and zone about the least-squares line.",
    zoneOptions(/*isOfSurface=*/false), filledIn(lineDetails, "lines", "straightness")};

const Usage flatnessUsage{"form flatness", "SURFACE",
                          "Flatness of a surface: minimum zone and zone about the least-squares plane.",
                          zoneOptions(/*isOfSurface=*/true), filledIn(lineDetails, "planes", "flatness")};

const Usage roundnessUsage{
    "form roundness", "PROFILE",
    "Roundness of a profile about four circles: minimum zone, least squares, circumscribed, inscribed.",
    zoneOptions(/*isOfSurface=*/false),
    "The roundness is the greatest distance of a point from the centre less the least one. The minimum zone "
    "is exact to\n"
    "rounding; its contacts, by their rows from 0, lie on the outer and the inner circle in turn. A circle "
    "that the\n"
    "points do not determine is missing, with the reason. Exit code 1: no minimum zone, or wider than "
    "--limit.\n\n"
    "Examples\n"
    "  kvmeasure form roundness bore.csv --svg zone.svg\n"
    "  kvmeasure form roundness bore.csv --json\n"};

/// Contacts as rows of the file.
QJsonArray jsonRows(const std::vector<int>& indices, const std::vector<int>& rows) {
    QJsonArray array;
    for (const int i : indices)
        array.append(rows[static_cast<std::size_t>(i)]);
    return array;
}

QString rowTexts(const std::vector<int>& indices, const std::vector<int>& rows) {
    QStringList texts;
    for (const int i : indices)
        texts.append(QString::number(rows[static_cast<std::size_t>(i)]));
    return texts.join(", ");
}

/// What a zone that was found rests on.
QString certificateText(const ZoneCertificate& certificate) {
    if (!certificate.isValid)
        return "none: a zone between the lower bound and this one is not ruled out";
    return certificate.points.empty() ? "every edge of the hull was tried"
                                      : "these points alone need a zone as wide";
}

QJsonObject jsonCertificate(const FormZone& zone, const std::vector<int>& rows) {
    const ZoneCertificate& certificate = zone.certificate;
    return {{"valid", certificate.isValid},
            {"lowerBound", jsonNumber(certificate.lowerBound)},
            {"points", jsonRows(certificate.points, rows)},
            {"text", zone.isValid() ? certificateText(certificate) : "there is no zone"}};
}

/// A report in the making: rows of a table and JSON, with the reasons of what is missing.
class ZoneReport {
public:
    ZoneReport(const Arguments& arguments, const std::vector<int>& rows, int unset)
        : arguments_(arguments), rows_(rows) {
        facts_.add("points", "points", static_cast<double>(rows.size()));
        facts_.add("unset", "unset", unset);
    }
    void addSection(int interpolated) {
        if (hasCourse(arguments_))
            facts_.add("interpolated", "interpolated", interpolated);
    }
    void addSelection(const Selection& selection) {
        if (selection.outside > 0)
            facts_.add("leftOut", "points outside the limits", selection.outside);
        if (!selection.isFiltered)
            return;
        facts_.json["strays"] = selection.json();
        filter_ = selection.strays.text();
    }
    void add(const char* key, const QString& what, const FormZone& zone, double width) {
        facts_.add(key, what, zone.isValid() ? QString::number(width, 'g', 10) : "-",
                   zone.isValid() ? jsonNumber(width) : QJsonValue());
        addReason(key, zone);
    }
    void addReason(const QString& key, const FormZone& zone) {
        if (!zone.isValid())
            reasons_[key] = zone.reason;
    }
    void addDeviation(double deviation) {
        facts_.add("deviation", "rms deviation, mm",
                   std::isnan(deviation) ? QString("-") : QString::number(deviation, 'g', 10),
                   jsonNumber(deviation));
    }
    void addContacts(const FormZone& zone) {
        facts_.add("contacts", "contacts", rowTexts(zone.contacts, rows_), jsonRows(zone.contacts, rows_));
        facts_.json["certificate"] = jsonCertificate(zone, rows_);
        if (!zone.isValid())
            return;
        const ZoneCertificate& certificate = zone.certificate;
        facts_.add("", "certificate",
                   !certificate.isValid ? filledIn("none; no zone is below %1 mm", certificate.lowerBound)
                   : certificate.points.empty()
                       ? certificateText(certificate)
                       : filledIn("rows %1 need it", rowTexts(certificate.points, rows_)),
                   QJsonValue());
    }
    /// The zones of Straightness or Flatness.
    template <class Result>
    void addZones(const Result& result) {
        add("minimumZone", "minimum zone, mm", result.minimumZone, result.minimumZone.width);
        add("minimumZoneAlongZ", "minimum zone along z, mm", result.minimumZoneAlongZ,
            result.minimumZoneAlongZ.height);
        add("leastSquaresZone", "zone about least squares, mm", result.leastSquares,
            result.leastSquares.width);
        addDeviation(result.deviation);
        addContacts(result.minimumZone);
        facts_.json["contactsAlongZ"] = jsonRows(result.minimumZoneAlongZ.contacts, rows_);
    }
    Facts& facts() { return facts_; }
    int print(const char* kind, const FormZone& zone);

private:
    const Arguments& arguments_;
    const std::vector<int>& rows_;
    Facts facts_;
    QJsonObject reasons_;
    QString filter_;  ///< of stray points, in words
};

int ZoneReport::print(const char* kind, const FormZone& zone) {
    constexpr double kWidest = 1e9;
    const double limit = arguments_.number("--limit", std::nan(""), 0, kWidest);
    const bool isGood = zone.isValid() && !(zone.width > limit);
    facts_.json["file"] = arguments_.operand(0);
    facts_.json["kind"] = kind;
    facts_.json["good"] = isGood;
    facts_.json["limit"] = jsonNumber(limit);
    if (!reasons_.isEmpty())
        facts_.json["reasons"] = reasons_;
    if (arguments_.isJson()) {
        printJson(facts_.json);
    } else {
        QString text = filledIn("%1: %2%3\n", printable(arguments_.operand(0)), kind,
                                !zone.isValid() ? " (NO RESULT)"
                                : isGood        ? ""
                                                : " (WIDER THAN THE LIMIT)") +
                       facts_.table.text();
        if (!filter_.isEmpty())
            text += filter_ + '\n';
        for (auto it = reasons_.begin(); it != reasons_.end(); ++it)
            text += filledIn("%1: %2\n", it.key(), it.value().toString());
        KvMeasure::print(text);
    }
    return isGood ? int(Done) : int(NotMet);
}

ZonePicture pictureOf(const Arguments& arguments, const FormZone& zone, const std::vector<int>& rows,
                      const char* kind) {
    ZonePicture picture;
    picture.title = QFileInfo(arguments.operand(0)).completeBaseName();
    picture.subtitle = filledIn("%1: minimum zone %2 mm, contacts %3", kind,
                                QString::number(zone.width, 'g', 6), rowTexts(zone.contacts, rows));
    picture.from = -zone.width / 2;
    picture.to = zone.width / 2;
    picture.contacts = zone.contacts;
    picture.numbers = rows;
    picture.points.reserve(rows.size());
    return picture;
}

void draw(const Arguments& arguments, const FormZone& zone, const std::function<ZonePicture()>& make) {
    if (arguments.has("--svg") && zone.isValid())
        writePicture(arguments.text("--svg"), [&] { return drawZone(make()); });
}

ZonePicture lineView(const Arguments& arguments, const LineZone& zone, const FormPoints<Vector>& taken) {
    ZonePicture picture = pictureOf(arguments, zone, taken.rows, "straightness");
    picture.along = "along the line, mm";
    const double middle = (zone.from + zone.to) / 2;
    for (const Vector& p : taken.points) {
        const double x = p.x - zone.origin.x, y = p.y - zone.origin.y;
        picture.points.emplace_back(x * zone.normal.y - y * zone.normal.x,
                                    x * zone.normal.x + y * zone.normal.y - middle);
    }
    return picture;
}

/// The surface seen from its edge, square to the axis that the planes are steepest against.
ZonePicture edgeView(const Arguments& arguments, const PlaneZone& zone, const FormPoints<SpacePoint>& taken) {
    ZonePicture picture = pictureOf(arguments, zone, taken.rows, "flatness");
    const SpacePoint& n = zone.normal;
    const double size = std::hypot(n[0], n[2]);
    const bool isAlongX = size > 0.5;
    const SpacePoint along = isAlongX ? SpacePoint{n[2] / size, 0, -n[0] / size} : SpacePoint{0, n[2], -n[1]};
    picture.along = isAlongX ? "across the surface in the plane of x and z, mm" : "across the surface, mm";
    const double middle = (zone.from + zone.to) / 2;
    for (const SpacePoint& p : taken.points) {
        double place = 0, distance = -middle;
        for (std::size_t k = 0; k < 3; ++k) {
            place += (p[k] - zone.origin[k]) * along[k];
            distance += (p[k] - zone.origin[k]) * n[k];
        }
        picture.points.emplace_back(place, distance);
    }
    return picture;
}

/// Distances from the circle over the angle.
ZonePicture unrolled(const Arguments& arguments, const RoundZone& zone, const FormPoints<Vector>& taken) {
    ZonePicture picture = pictureOf(arguments, zone, taken.rows, "roundness");
    picture.along = "direction from the centre, degrees";
    picture.upward = "distance from the circle, mm";
    for (const Vector& p : taken.points)
        picture.points.emplace_back(std::atan2(p.y - zone.centre.y, p.x - zone.centre.x) * kDegreesPerRadian,
                                    length(zone.centre, p) - zone.radius);
    return picture;
}

QJsonValue jsonRound(const RoundZone& zone, const std::vector<int>& rows) {
    if (!zone.isValid())
        return {};
    return QJsonObject{{"centre", jsonPoint(zone.centre)},
                       {"radius", jsonNumber(zone.radius)},
                       {"innerRadius", jsonNumber(zone.innerRadius)},
                       {"outerRadius", jsonNumber(zone.outerRadius)},
                       {"roundness", jsonNumber(zone.width)},
                       {"contacts", jsonRows(zone.contacts, rows)}};
}

void refuseSamePicture(const Arguments& arguments) {
    refuseOverwriting({arguments.text("--svg")}, arguments.operands());
}

}  // namespace

int runFormStraightness(const QStringList& words) {
    const Arguments arguments(straightnessUsage, words, 1, 1);
    refuseSamePicture(arguments);
    FormPoints<Vector> taken = takePlanePoints(arguments);
    const Selection selection = selectPoints(arguments, taken, /*isCircle=*/false);
    const Straightness result = straightness(taken.points);
    ZoneReport report(arguments, taken.rows, taken.unset);
    report.addSection(taken.interpolated);
    report.addSelection(selection);
    report.addZones(result);
    if (result.minimumZone.isValid())
        report.facts().json["normal"] = jsonPoint(result.minimumZone.normal);
    draw(arguments, result.minimumZone, [&] { return lineView(arguments, result.minimumZone, taken); });
    return report.print("straightness", result.minimumZone);
}

int runFormFlatness(const QStringList& words) {
    const Arguments arguments(flatnessUsage, words, 1, 1);
    refuseSamePicture(arguments);
    FormPoints<SpacePoint> taken = takeSpacePoints(arguments);
    const Selection selection = selectPoints(arguments, taken);
    const Flatness result = flatness(taken.points);
    ZoneReport report(arguments, taken.rows, taken.unset);
    report.addSelection(selection);
    report.addZones(result);
    const SpacePoint& normal = result.minimumZone.normal;
    if (result.minimumZone.isValid())
        report.facts().json["normal"] = QJsonArray{normal[0], normal[1], normal[2]};
    draw(arguments, result.minimumZone, [&] { return edgeView(arguments, result.minimumZone, taken); });
    return report.print("flatness", result.minimumZone);
}

int runFormRoundness(const QStringList& words) {
    const Arguments arguments(roundnessUsage, words, 1, 1);
    refuseSamePicture(arguments);
    FormPoints<Vector> taken = takePlanePoints(arguments);
    const Selection selection = selectPoints(arguments, taken, /*isCircle=*/true);
    const Roundness result = roundness(taken.points);
    ZoneReport report(arguments, taken.rows, taken.unset);
    report.addSection(taken.interpolated);
    report.addSelection(selection);
    const struct {
        const char* key;
        const char* what;
        const RoundZone& zone;
    } methods[] = {{"minimumZone", "minimum zone", result.minimumZone},
                   {"leastSquares", "least squares", result.leastSquares},
                   {"circumscribed", "circumscribed", result.circumscribed},
                   {"inscribed", "inscribed", result.inscribed}};
    for (const auto& method : methods) {
        const RoundZone& zone = method.zone;
        const auto number = [](double value) { return QString::number(value, 'g', 10); };
        report.facts().add(method.key, method.what,
                           zone.isValid()
                               ? filledIn("roundness %1 mm, radius %2, centre %3, %4", number(zone.width),
                                          number(zone.radius), number(zone.centre.x), number(zone.centre.y))
                               : QString("-"),
                           jsonRound(zone, taken.rows));
        report.addReason(method.key, zone);
    }
    report.addDeviation(result.deviation);
    report.addContacts(result.minimumZone);
    draw(arguments, result.minimumZone, [&] { return unrolled(arguments, result.minimumZone, taken); });
    return report.print("roundness", result.minimumZone);
}

}  // namespace KvMeasure
