// The file of a master is read with the plan, so that a plan in memory needs no file any more.

#include <kvmeasure/inspection/plan_settings_p.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/inspection/plan_tools_p.h>
#include <kvmeasure/profiles/profile_file.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace KvMeasure::Internal {

namespace {

/// A word of a list, its number.
int choice(const PlanReader& reader, const QVariantMap& map, const QString& key, const QStringList& words,
           const QString& where) {
    const QString word = reader.text(map, key, where);
    const auto number = words.indexOf(word);
    if (number < 0)
        reader.fail(where, filledIn("\"%1\" must be %2, not \"%3\"%4", key, alternatives(words), word,
                                    suggestion(word, words)));
    return static_cast<int>(number);
}

/// The coordinates as the file has them: points of profiles have no more digits.
KvMath::KvProfile readPoints(const PlanReader& reader, const QVariant& value) {
    KvMath::KvProfile profile;
    const QVariantList points = reader.list(value, "master.points");
    profile.points.reserve(static_cast<int>(points.size()));
    for (int i = 0; i < static_cast<int>(points.size()); ++i) {
        const QString where = filledIn("master.points[%1]", i);
        const QVariantList pair = reader.list(points[i], where);
        if (pair.size() != 2 || !isNumber(pair[0]) || !isNumber(pair[1]))
            reader.fail(where, "expected two numbers [X, Z]");
        profile.points.append({pair[0].toFloat(), pair[1].toFloat()});
    }
    return profile;
}

void readPointsOf(const PlanReader& reader, const QVariantMap& map, PlanMaster& master) {
    if (map.contains("file") == map.contains("points"))
        reader.fail("master", "expected one of both, \"file\" or \"points\"");
    if (map.contains("points")) {
        master.profile = readPoints(reader, map["points"]);
        return;
    }
    const QString file = reader.text(map, "file", "master");
    master.file = QDir::cleanPath(QFileInfo(reader.path()).absoluteDir().absoluteFilePath(file));
    if (file.isEmpty() || file == "-")
        reader.fail("master", "\"file\" needs the name of a file");
    try {
        master.profile = loadOnlyProfile(master.file, TextOptions()).profile;
    } catch (const Error& error) {
        reader.fail("master", error.text());
    }
}

void readMaster(const PlanReader& reader, const QVariant& value, InspectionPlan& plan) {
    const QVariantMap map = reader.map(value, "master");
    reader.refuseOthers(map, {"name", "file", "points", "align", "keepAll", "band"}, "master");
    PlanMaster master;
    if (map.contains("name"))
        master.name = reader.text(map, "name", "master");
    if (map.contains("align"))
        master.alignment = static_cast<Alignment>(choice(reader, map, "align", alignmentWords(), "master"));
    if (map.contains("keepAll")) {
        if (map["keepAll"].userType() != QMetaType::Bool)
            reader.fail("master", "expected true or false under \"keepAll\"");
        master.keepsAll = map["keepAll"].toBool();
    }
    if (map.contains("band"))
        readSides(reader, map, "band", "master", master.lower, master.upper);
    readPointsOf(reader, map, master);
    if (!master.fault().isEmpty())
        reader.fail("master", master.fault());
    plan.master = master;
}

/// Numbers >= 0 by their key, of which `known` are taken.
QMap<QString, double> readUncertainties(const PlanReader& reader, const QVariantMap& calibration,
                                        const QString& key, const QStringList& known) {
    QMap<QString, double> read;
    if (!calibration.contains(key))
        return read;
    const QString where = "calibration." + key;
    const QVariantMap map = reader.map(calibration[key], where);
    reader.refuseOthers(map, known, where);
    constexpr double kGreatest = 1e6;
    for (const QString& name : map.keys()) {
        const double u = reader.number(map, name, where);
        if (!(u >= 0 && u <= kGreatest))
            reader.fail(where, filledIn("\"%1\" must be from 0 to %2", name, kGreatest));
        read[name] = u;
    }
    return read;
}

QVariantMap masterMap(const PlanMaster& master, const QString& path) {
    QVariantMap map{{"name", master.name},
                    {"align", alignmentWords().value(static_cast<int>(master.alignment))},
                    {"keepAll", master.keepsAll}};
    if (master.hasBand())
        map["band"] = sidesList(master.lower, master.upper);
    if (!master.file.isEmpty()) {
        map["file"] =
            path.isEmpty() ? master.file : QFileInfo(path).absoluteDir().relativeFilePath(master.file);
        return map;
    }
    QVariantList points;
    for (const KvMath::KvPointXY& point : master.profile.points) {
        if (isFinite(point))
            points.append(QVariant(QVariantList{double(point.x), double(point.y)}));
    }
    map["points"] = points;
    return map;
}

QVariantMap uncertaintyMap(const QMap<QString, double>& numbers) {
    QVariantMap map;
    for (auto it = numbers.begin(); it != numbers.end(); ++it)
        map[it.key()] = it.value();
    return map;
}

}  // namespace

const QStringList& settingKeys() {
    static const QStringList keys{"master", "decision", "calibration"};
    return keys;
}

void readMasterAndDecision(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    if (document.contains("master"))
        readMaster(reader, document["master"], plan);
    if (document.contains("decision"))
        plan.decision =
            static_cast<Decision>(choice(reader, document, "decision", decisionWords(), "decision"));
}

void readStatedUncertainty(const PlanReader& reader, const QVariantMap& document, InspectionPlan& plan) {
    if (!document.contains("calibration"))
        return;
    const QVariantMap calibration = reader.map(document["calibration"], "calibration");
    reader.refuseOthers(calibration, {"u", "values"}, "calibration");
    QStringList names;
    for (const ValueName& value : valueNames(plan))
        names.append(value.name);
    plan.calibration.ofUnit = readUncertainties(reader, calibration, "u", statedUnits());
    plan.calibration.ofValue = readUncertainties(reader, calibration, "values", names);
}

void writeSettings(const InspectionPlan& plan, const QString& path, QVariantMap& document) {
    if (plan.master)
        document["master"] = masterMap(*plan.master, path);
    if (plan.decision != Decision::Simple)
        document["decision"] = decisionWords().value(static_cast<int>(plan.decision));
    if (plan.calibration.isEmpty())
        return;
    QVariantMap calibration;
    if (!plan.calibration.ofUnit.isEmpty())
        calibration["u"] = uncertaintyMap(plan.calibration.ofUnit);
    if (!plan.calibration.ofValue.isEmpty())
        calibration["values"] = uncertaintyMap(plan.calibration.ofValue);
    document["calibration"] = calibration;
}

}  // namespace KvMeasure::Internal
