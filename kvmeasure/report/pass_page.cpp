// The page is drawn from the document that "--json" prints, so that both have the same values. The table of
// wheels has three rows for each wheelset, the table of a wheelset a row for each value. Those of wheelsets
// that are not good come before all others when there is not room for all. Time and memory grow with the
// document; the page does not: rows, details, pictures and data have upper bounds.

#include <kvmeasure/report/pass_page.h>

#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/report/pass_axles_p.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QMap>

#include <cmath>
#include <numeric>

namespace KvMeasure {

namespace {

/// How many wheels and wheelsets have which verdict.
QString countsOf(const QList<Axle>& axles) {
    int defects = 0, out = 0, missing = 0, noted = 0;
    for (const Axle& axle : axles) {
        for (const QString& word : {axle.words[0], axle.words[1], axle.own}) {
            defects += word.contains("DEFECT") ? 1 : 0;
            out += word.contains("OUT") ? 1 : 0;
            missing += word.contains("NOT MEASURED") || word.contains("NOT SEARCHED") ? 1 : 0;
            noted += word.contains("NOT SURE") ? 1 : 0;
        }
    }
    QStringList counts;
    const auto add = [&counts](int count, const char* what) {
        if (count > 0)
            counts.append(filledIn("%1 %2", count, QString(what)));
    };
    add(defects, "wheel(s) with a defect");
    add(out, "wheel(s) or wheelset(s) out of the limits");
    add(missing, "wheel(s) or wheelset(s) with something that is not measured");
    add(noted, "wheel(s) or wheelset(s) with notes");
    return counts.join(", ");
}

void setVerdict(const QList<Axle>& axles, const QJsonObject& results, HtmlPage& page) {
    QStringList faults;
    const QString counts = countsOf(axles), verdict = results["verdict"].toString();
    if (axles.isEmpty())
        faults.append("no wheelset was seen");
    if (!counts.isEmpty())
        faults.append(counts);
    int damaged = 0;
    for (const QJsonValue recording : results["recordings"].toArray())
        damaged += recording.toObject()["damagedAt"].isDouble() ? 1 : 0;
    if (damaged > 0)
        faults.append(filledIn("%1 recording(s) damaged", damaged));
    for (const QString name : {"bogie", "vehicle"}) {
        int bad = 0;
        for (const QJsonValue group : results[name + 's'].toArray())
            bad += group.toObject()["verdict"].toString() == "good" ? 0 : 1;
        if (bad > 0)
            faults.append(filledIn("%1 %2(s) not good", bad, name));
    }
    if (faults.isEmpty() && !verdict.isEmpty() && verdict != "good")
        faults.append(verdict);
    if (!faults.isEmpty())
        page.setVerdict(HtmlPage::Bad, "NOT GOOD: " + faults.join(", "));
    else if (verdict.isEmpty())
        page.setVerdict(HtmlPage::NotJudged,
                        filledIn("COMPLETE: all wheels of %1 wheelset(s) are measured, none has a defect; "
                                 "no limits were given",
                                 axles.size()));
    else
        page.setVerdict(HtmlPage::Good, filledIn("GOOD: %1 wheelset(s)", axles.size()));
}

/// Bytes of these rows in the page.
qint64 sizeOf(const QList<QStringList>& rows) {
    constexpr int kMarks = 12;  // of the elements round a cell
    qint64 size = 0;
    for (const QStringList& row : rows) {
        for (const QString& cell : row)
            size += cell.toHtmlEscaped().toUtf8().size() + kMarks;
    }
    return size;
}

/// A row for each wheel, and one for what both make together.
QList<QStringList> overviewOf(const Axle& axle) {
    QList<QStringList> rows;
    for (const int side : {0, 1}) {
        const QJsonObject& wheel = axle.wheels[side];
        QStringList row{axle.name, kWheelSides[side], axle.words[side], axle.travel()};
        for (const WheelQuantity& each : kWheelQuantities) {
            if (QString(each.key) != "radius")
                row.append(withUncertainty(wheel, each.key));
        }
        rows.append(row << "" << joined(wheel["notes"]));
    }
    QStringList row{axle.name, "both", axle.own, axle.travel(), "", "", "", "", ""};
    rows.append(row << withUncertainty(axle.json, "backToBack") << joined(axle.json["notes"]));
    return rows;
}

void addOverview(const QList<Axle>& axles, HtmlPage& page) {
    QList<QStringList> rows;
    int shown = 0;
    for (qint64 size = 0; shown < axles.size() && shown < PassPage::kMostWheelsets; ++shown) {
        const QList<QStringList> own = overviewOf(axles.at(shown));
        size += sizeOf(own);
        if (size > PassPage::kLargestTable)
            break;
        rows += own;
    }
    const QString unit = "value \u00b1 U (k = 2), mm";
    page.addTable(shown < axles.size()
                      ? filledIn("The first %1 of %2 wheelsets: %3", shown, axles.size(), unit)
                      : "Wheels by axle: " + unit,
                  {"wheelset", "side", "verdict", "travel, m", "flange height", "thickness from back",
                   "flange steepness", "height deviation", "running diameter", "back to back", "notes"},
                  rows);
}

/// The table of vehicles or bogies.
void addGroups(const QJsonArray& groups, const QString& title, const QString& name, HtmlPage& page) {
    QList<QStringList> rows;
    for (const QJsonValue value : groups) {
        const QJsonObject group = value.toObject();
        QStringList row{QString::number(group[name].toInt()),
                        filledIn("%1 to %2", group["firstWheelset"].toInt(), group["lastWheelset"].toInt()) +
                            (group["cutShort"].toBool() ? " (cut short)" : ""),
                        group["verdict"].toString().isEmpty() ? QString("no limits")
                                                              : group["verdict"].toString(),
                        rounded(numberOf(group[name + "DiameterDifference"]))};
        const QJsonObject limit = group["limits"].toArray().first().toObject();
        rows.append(row << (limit.isEmpty() ? QString("none") : limitsText(limit)) << reasonOf(limit));
        if (rows.size() >= PassPage::kMostWheelsets)
            break;
    }
    if (!rows.isEmpty())
        page.addTable(
            title, {name, "wheelsets", "verdict", "difference of diameters, mm", "limits", "reason"}, rows);
}

/// A row for a value without limits; its reason is that of the value, or of the U that it lacks.
QStringList valueRow(const QString& side, const QJsonObject& owner, const QString& key, const QString& name) {
    const double value = numberOf(owner[key]);
    const QString why = owner["uncertainties"].toObject()[key].toObject()["reason"].toString();
    const QString notes = joined(owner["notes"]);
    const bool isThere = std::isfinite(value);
    return {side,
            name,
            isThere ? "no limits" : "NOT MEASURED",
            rounded(value),
            rounded(expandedOf(owner, key)),
            "mm",
            "none",
            !isThere ? (notes.isEmpty() ? QString("not measured") : notes)
                     : (why.isEmpty() ? QString() : "no U: " + why)};
}

void addLimitRows(const QString& side, const QJsonObject& owner, QList<QStringList>& rows) {
    for (const QJsonValue each : owner["limits"].toArray()) {
        const QJsonObject limit = each.toObject();
        rows.append({side, nameOf(limit), limit["verdict"].toString(), rounded(numberOf(limit["value"])),
                     rounded(numberOf(limit["U"])), unitOf(limit), limitsText(limit), reasonOf(limit)});
    }
}

QList<QStringList> detailsOf(const Axle& axle) {
    QList<QStringList> rows;
    for (const int side : {0, 1}) {
        for (const WheelQuantity& each : kWheelQuantities)
            rows.append(valueRow(kWheelSides[side], axle.wheels[side], each.key, each.name));
        addLimitRows(kWheelSides[side], axle.wheels[side], rows);
        const QJsonValue defect = axle.wheels[side]["defect"];
        rows.append({kWheelSides[side], "defect of the tread",
                     defect.isNull()   ? "NOT SEARCHED"
                     : defect.toBool() ? "DEFECT"
                                       : "good",
                     "-", "-", "", "none", defect.isNull() ? joined(axle.wheels[side]["notes"]) : QString()});
    }
    rows.append(valueRow("both", axle.json, "backToBack", "back to back"));
    addLimitRows("both", axle.json, rows);
    return rows;
}

/// The wheelsets that are not good first, as many as there is room for, then the others; in their order.
void addDetails(const QList<Axle>& axles, HtmlPage& page) {
    constexpr int kMostOpen = 3;
    QMap<int, QList<QStringList>> shown;  // by the place in the train
    qint64 size = 0;
    for (const bool isGood : {false, true}) {
        for (int i = 0; i < static_cast<int>(axles.size()); ++i) {
            if (axles.at(i).isGood() != isGood || size > PassPage::kLargestDetails)
                continue;
            const QList<QStringList> rows = detailsOf(axles.at(i));
            size += sizeOf(rows);
            if (size <= PassPage::kLargestDetails)
                shown[i] = rows;
        }
    }
    if (axles.isEmpty())
        return;
    page.addHeading("Values of each wheelset");
    if (shown.size() < axles.size())
        page.addText(
            filledIn("%1 of %2 wheelsets: those that are not good come first.", shown.size(), axles.size()));
    int open = 0;
    for (auto each = shown.begin(); each != shown.end(); ++each) {
        const Axle& axle = axles.at(each.key());
        const bool isOpen = !axle.isGood() && open++ < kMostOpen;
        page.startDetails(filledIn("Wheelset %1: left %2; right %3; both %4", axle.name, axle.words[0],
                                   axle.words[1], axle.own),
                          isOpen);
        page.addTable({}, {"side", "value", "verdict", "measured", "U (k = 2)", "unit", "limits", "reason"},
                      each.value());
        page.endDetails();
    }
}

void addPlots(const QList<Axle>& axles, HtmlPage& page) {
    if (axles.size() < 2 || axles.size() > PassPage::kMostWheelsets)
        return;
    std::vector<double> places(static_cast<std::size_t>(axles.size()));
    std::iota(places.begin(), places.end(), 1.0);
    page.addPlots("wheelset", places, {}, seriesOf(axles));
}

void addNotes(const QJsonObject& results, HtmlPage& page) {
    constexpr int kMostNotes = 200;
    QList<QStringList> rows;
    for (const char* key : {"notes", "skipped"}) {
        for (const QJsonValue note : results[key].toArray()) {
            if (rows.size() < kMostNotes)
                rows.append({note.toString()});
        }
    }
    if (!rows.isEmpty())
        page.addTable("Notes", {"note"}, rows);
}

QJsonObject bounded(QJsonObject results, int wheelsets) {
    constexpr int kMoreOfSign = 5;  // bytes of a "<" that no script may hold
    const QByteArray text = QJsonDocument(results).toJson(QJsonDocument::Compact);
    if (text.size() + kMoreOfSign * text.count('<') <= PassPage::kLargestResults)
        return results;
    for (const char* key : {"recordings", "wheelsets", "vehicles", "bogies", "notes", "skipped"})
        results.remove(key);
    results["wheelsetsLeftOut"] = wheelsets;
    return results;
}

}  // namespace

void PassPage::addFact(const QString& what, const QString& value) { facts_.append(QStringList{what, value}); }

void PassPage::add(const WheelResult& wheel, const QString& verdict, const QString& caption,
                   const std::function<QByteArray()>& draw) {
    ++wheels_;
    const bool isNoted = !wheel.notes.isEmpty() || !wheel.isComplete() || verdict == "NOT MEASURED";
    const int badness = (wheel.defect > 0 ? 4 : 0) + (verdict == "OUT" ? 2 : 0) + (isNoted ? 1 : 0);
    const bool isFull = worst_.size() >= std::size_t(kMostPictures);
    if (!draw || (isFull && badness <= std::prev(worst_.end())->first))
        return;
    worst_.emplace(badness, Drawn{caption, draw()});
    if (isFull)
        worst_.erase(std::prev(worst_.end()));
}

QByteArray PassPage::html(const QJsonObject& results) const {
    QList<Axle> axles;
    int records = 0;
    const QJsonArray wheelsets = results["wheelsets"].toArray(), recordings = results["recordings"].toArray();
    for (const QJsonValue wheelset : wheelsets)
        axles.append(Axle(wheelset.toObject()));
    for (const QJsonValue recording : recordings)
        records += recording.toObject()["records"].toInt();
    HtmlPage page(title_);
    setVerdict(axles, results, page);
    page.addFact("made", QDateTime::currentDateTime().toString("yyyy-MM-dd HH:mm:ss"));
    page.addFact("recordings", filledIn("%1 with %2 records", recordings.size(), records));
    for (const QStringList& fact : facts_)
        page.addFact(fact[0], fact[1]);
    addOverview(axles, page);
    addGroups(results["vehicles"].toArray(), "Vehicles", "vehicle", page);
    addGroups(results["bogies"].toArray(), "Bogies", "bogie", page);
    addPlots(axles, page);
    addDetails(axles, page);
    if (wheels_ > static_cast<int>(worst_.size()))
        page.addText(filledIn("Pictures: the %1 worst of %2 wheels.", worst_.size(), wheels_));
    for (const auto& [badness, drawn] : worst_)
        page.addPicture(drawn.caption, drawn.svg);
    addNotes(results, page);
    page.setResults(bounded(results, static_cast<int>(axles.size())));
    return page.html();
}

}  // namespace KvMeasure
