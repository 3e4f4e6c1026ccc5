// Blocks state, in this order: shift, rotation, bounds, mirroring, and the unit as a number of units in a
// metre. KEY=VALUE files state the origin of the frame and a point on each of its axes (RefPoint1 to 3), then
// tilt and offsets; in files whose points are in the frame already these points are 0,0 and 10,0 and 0,5.

#include <kvmeasure/wheels/gauge_frame_p.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>

#include <algorithm>
#include <cmath>

namespace KvMeasure::Internal {

namespace {

/// The row with blanks alone between its numbers. A comma within each word is a decimal mark: "143,2 -12,5".
QByteArray withBlanks(const QByteArray& line) {
    QByteArray plain = line;
    plain.replace('\t', ' ').replace(';', ' ');
    const QList<QByteArray> words = plain.simplified().split(' ');
    const bool isDecimal = words.size() > 1 && !plain.contains('.') &&
                           std::all_of(words.begin(), words.end(), [](const QByteArray& word) {
                               const auto comma = word.indexOf(',');
                               return comma > 0 && comma + 1 < word.size() && word.count(',') == 1;
                           });
    return plain.replace(',', isDecimal ? '.' : ' ').simplified();
}

double numberOr(const GaugeProfile& profile, const char* name, double absent) {
    const double value = profile.number(name);
    return std::isfinite(value) ? value : absent;
}

void turn(std::vector<Vector>& points, double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    for (Vector& p : points)
        p = Vector(c * p.x - s * p.y, s * p.x + c * p.y);
}

void shift(std::vector<Vector>& points, double x, double y) {
    for (Vector& p : points)
        p = Vector(p.x + x, p.y + y);
}

/// Keeps the points within bounds; bounds in the wrong order are none.
void bound(GaugeProfile& profile, double (*coordinate)(const Vector&), double least, double greatest) {
    if (!(least < greatest))
        return;
    const std::size_t before = profile.points.size();
    profile.points.erase(std::remove_if(profile.points.begin(), profile.points.end(),
                                        [&](const Vector& p) {
                                            return !(coordinate(p) >= least && coordinate(p) <= greatest);
                                        }),
                         profile.points.end());
    if (profile.points.size() < before)
        profile.notes.append(
            "left out: " + counted(static_cast<qint64>(before - profile.points.size()), "point") +
            " beyond the bounds that the file states");
}

void applyBlocks(GaugeProfile& profile) {
    const auto value = [&](const char* name, double absent) { return numberOr(profile, name, absent); };
    const double shiftX = value("spline.shift.y", 0), shiftZ = value("spline.shift.z", 0);
    const double angle = value("spline.rotate", 0) / value("spline.units.ang.f", 1);
    if (shiftX != 0 || shiftZ != 0) {
        shift(profile.points, shiftX, shiftZ);
        profile.notes.append(filledIn("shifted by %1, %2 as the file states", shiftX, shiftZ));
    }
    if (angle != 0 && std::isfinite(angle)) {
        turn(profile.points, angle);
        profile.notes.append(filledIn("turned by %1 degrees as the file states", angle * kDegreesPerRadian));
    }
    bound(
        profile, [](const Vector& p) { return p.x; }, value("spline.bound.y.min", 1),
        value("spline.bound.y.max", 0));
    bound(
        profile, [](const Vector& p) { return p.y; }, value("spline.bound.z.min", 1),
        value("spline.bound.z.max", 0));
    const bool isMirrored = value("spline.mirror.y", 0) != 0, isUpsideDown = value("spline.mirror.z", 0) != 0;
    for (Vector& p : profile.points)
        p = Vector(isMirrored ? -p.x : p.x, isUpsideDown ? -p.y : p.y);
    if (isMirrored || isUpsideDown)
        profile.notes.append(QString("mirrored in %1 as the file states")
                                 .arg(isMirrored && isUpsideDown ? "y and z" : (isMirrored ? "y" : "z")));
    if (value("spline.inversion", 0) != 0)
        std::reverse(profile.points.begin(), profile.points.end());
    const double type = profile.number("header.type");
    profile.object = type == 1 ? GaugeObject::Wheel : (type == 0 ? GaugeObject::Rail : GaugeObject::Unknown);
    profile.zero = profile.object == GaugeObject::Wheel ? GaugeZero::RunningCircle : GaugeZero::Unknown;
}

/// A point "x, y" of the header; false where there is none.
bool pointField(const GaugeProfile& profile, const char* name, Vector& point) {
    const GaugeRow row = gaugeRow(profile.field(name).toLatin1());
    if (row.isPoint)
        point = Vector(row.numbers[0], row.numbers[1]);
    return row.isPoint;
}

/// Brings the points into the frame of the first three reference points.
void applyReference(GaugeProfile& profile) {
    Vector origin, alongX, alongY;
    if (!pointField(profile, "RefPoint1", origin) || !pointField(profile, "RefPoint2", alongX) ||
        !pointField(profile, "RefPoint3", alongY))
        return;
    const double reach = length(origin, alongX);
    const double across =
        (alongX.x - origin.x) * (alongY.y - origin.y) - (alongX.y - origin.y) * (alongY.x - origin.x);
    if (!(reach > 0) || across == 0 || !std::isfinite(across))
        return;
    const Vector x((alongX.x - origin.x) / reach, (alongX.y - origin.y) / reach);
    const double hand = across > 0 ? 1 : -1;
    if (origin.x == 0 && origin.y == 0 && x.x == 1 && hand == 1)
        return;
    for (Vector& p : profile.points) {
        const double fromX = p.x - origin.x, fromY = p.y - origin.y;
        p = Vector(fromX * x.x + fromY * x.y, hand * (fromY * x.x - fromX * x.y));
    }
    profile.notes.append("brought into the frame of the reference points 1 to 3 of the file");
}

bool isField(const GaugeProfile& profile, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* name) {
        return std::any_of(profile.header.begin(), profile.header.end(), [&](const GaugeField& field) {
            return field.name.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
        });
    });
}

void applyKeyValue(GaugeProfile& profile) {
    applyReference(profile);
    const double tilt = numberOr(profile, "Tilt", 0);
    if (tilt != 0) {
        turn(profile.points, tilt * kRadiansPerDegree);
        profile.notes.append(filledIn("turned by the tilt of %1 degrees that the file states", tilt));
    }
    const double x = numberOr(profile, "Xoffset", 0), y = numberOr(profile, "Yoffset", 0);
    if (x != 0 || y != 0) {
        shift(profile.points, x, y);
        profile.notes.append(filledIn("shifted by the offsets %1, %2 that the file states", x, y));
    }
    if (isField(profile, {"WheelAdjustPoint", "WheelDiameterTaperline", "WheelID", "AxleNo", "Sd", "Sh", "qR",
                          "DiameterTaperline", "DiameterFlange"}))
        profile.object = GaugeObject::Wheel;
    else if (isField(profile, {"RailAlignType", "RailAngle", "AreaRef", "BaseTilt", "Rail", "W1", "W2", "W3",
                               "RailGauge"}))
        profile.object = GaugeObject::Rail;
    if (profile.object == GaugeObject::Wheel)
        profile.zero = GaugeZero::FlangeBack;
    QString side = profile.field("Side");
    side.remove('%');
    if (side.isEmpty())
        side = profile.field("Rail");
    profile.side = side.startsWith('l', Qt::CaseInsensitive)
                       ? "left"
                       : (side.startsWith('r', Qt::CaseInsensitive) ? "right" : "");
}

/// The unit of the points: what the options say, else what the file says.
double factorOf(const GaugeProfile& profile, const TextOptions& options) {
    if (!options.units.isEmpty())
        return options.units.first().toMm(1);
    const double perMetre = profile.number("spline.units.len.f");
    if (perMetre > 0 && std::isfinite(perMetre))
        return 1000 / perMetre;
    for (const char* name : {"Unit", "Units", "LengthUnit"}) {
        const LengthUnit* unit = findLengthUnit(profile.field(name));
        if (unit != nullptr)
            return unit->toMm(1);
    }
    return 1;
}

}  // namespace

GaugeRow gaugeRow(const QByteArray& line) {
    GaugeRow row;
    int found = 0;
    for (const QByteArray& word : withBlanks(line).split(' ')) {
        double value = 0;
        if (!parseNumber(QString::fromLatin1(word), value))
            return row;
        if (found < 2)
            row.numbers[found] = value;
        ++found;
    }
    row.isPoint = found >= 2;
    return row;
}

void bringIntoFrame(GaugeProfile& profile, const TextOptions& options) {
    const double factor = factorOf(profile, options);
    if (profile.form == GaugeForm::Blocks)
        applyBlocks(profile);
    for (Vector& p : profile.points)
        p = Vector(p.x * factor, p.y * factor);
    if (profile.form == GaugeForm::KeyValue)
        applyKeyValue(profile);
    if (factor != 1)
        profile.notes.append(filledIn("a unit of the file is %1 mm", factor));
}

}  // namespace KvMeasure::Internal
