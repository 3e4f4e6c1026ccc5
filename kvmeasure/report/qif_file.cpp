// QIF 3.0, ISO 23952. Names and order of the elements: the public schema of the version,
// http://qifstandards.org/xsd/qif3. A characteristic is a definition with its limits, a nominal and an item,
// each with a number of its own, to which measurements refer. The head of the document needs the greatest
// number and the lists their lengths, so that what parts give is collected and written behind them.

#include <kvmeasure/report/qif_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/report/hand_over_p.h>

#include <QtCore/QLocale>
#include <QtCore/QUuid>
#include <QtCore/QXmlStreamWriter>

#include <cmath>
#include <limits>
#include <vector>

namespace KvMeasure {

namespace {

/// The kind of characteristic of a unit.
struct UnitKind {
    const char* unit;
    const char* kind;     ///< "Linear" of UserDefinedLinearCharacteristicItem
    const char* element;  ///< of the unit, in the order of the schema
    const char *siName, *name, *factor;
    bool isPrimary;  ///< else values name it
};

const UnitKind unitKinds[] = {
    {"mm2", "Area", "AreaUnit", "square meter", "mm2", "0.000001", true},
    {"deg", "Angular", "AngularUnit", "radian", "degree", "0.017453292519943", true},
    {"mm", "Linear", "LinearUnit", "meter", "mm", "0.001", true},
    {"um", "Linear", "LinearUnit", "meter", "um", "0.000001", false},
};

const UnitKind* kindOf(const QString& unit) {
    for (const UnitKind& row : unitKinds) {
        if (unit == QLatin1String(row.unit))
            return &row;
    }
    return nullptr;
}

/// A decimal of XML, which has no exponent, and of which every reader takes eighteen digits.
QString decimal(double value) {
    constexpr int kDigits = 18;
    QString all = QString::number(value, 'f', QLocale::FloatingPointShortest);
    const int before = static_cast<int>(QString::number(std::fabs(value), 'f', 0).size());
    const auto point = all.indexOf('.');
    if (point < 0 || static_cast<int>(all.size() - point) - 1 <= kDigits - before)
        return all;
    return QString::number(value, 'f', qMax(0, kDigits - before));
}

QString timeText(const QDateTime& time) { return time.toUTC().toString("yyyy-MM-ddTHH:mm:ss.zzz") + 'Z'; }

QString numberText(qint64 number) { return QString::number(number); }

void writeStatus(QXmlStreamWriter& xml, const char* element, const char* choice, const char* status) {
    xml.writeStartElement(element);
    xml.writeTextElement(choice, status);
    xml.writeEndElement();
}

void startList(QXmlStreamWriter& xml, const char* element, qint64 length) {
    xml.writeStartElement(element);
    xml.writeAttribute("n", numberText(length));
}

void writeReference(QXmlStreamWriter& xml, const char* element, qint64 number) {
    startList(xml, element, 1);
    xml.writeTextElement("Id", numberText(number));
    xml.writeEndElement();
}

const char* statusOf(const Value& value) {
    if (!value.isValid)
        return "INDETERMINATE";
    if (!value.hasTolerance)
        return "NOT_ANALYZED";
    return value.isGood() ? "PASS" : "FAIL";
}

void startValue(QXmlStreamWriter& xml, const char* element, const UnitKind& kind) {
    xml.writeStartElement(element);
    if (!kind.isPrimary)
        xml.writeAttribute("linearUnit", kind.name);
}

void writeValue(QXmlStreamWriter& xml, const char* element, const UnitKind& kind, double value) {
    startValue(xml, element, kind);
    xml.writeCharacters(decimal(value));
    xml.writeEndElement();
}

/// Of all values of a part: one that is out of its tolerance fails it, whatever else is missing.
const char* statusOf(const StoredPart& part) {
    bool isJudged = false;
    for (const Value& value : part.values) {
        if (value.isValid && value.hasTolerance && !value.isGood())
            return "FAIL";
        isJudged = isJudged || value.hasTolerance;
    }
    if (part.state != PartState::Good)
        return "NOT_MEASURED";
    return isJudged ? "PASS" : "NOT_CALCULATED";
}

}  // namespace

struct QifFile::Content {
    Content(const QString& path, const HandedRun& about);

    qint64 next() {
        if (lastId == std::numeric_limits<quint32>::max())
            throw Error(
                "a QIF document has room for 4,294,967,295 numbered elements; hand on fewer parts at once");
        return ++lastId;
    }
    void writeHead(QXmlStreamWriter& xml) const;
    void writeUnits(QXmlStreamWriter& xml) const;
    void writeCharacteristics(QXmlStreamWriter& xml) const;
    void writeMeasurement(QXmlStreamWriter& xml, const Value& value, std::size_t place, const QString& time);
    void writeTraceability(QXmlStreamWriter& xml) const;

    OutputFile file;
    HandedRun run;
    qint64 lastId = 0;
    qint64 standard, device = 0;  ///< numbers; 0: there is none
    struct Characteristic {
        int place;  ///< among those of the run
        const UnitKind* kind;
        qint64 definition, nominal, item;  ///< numbers
    };
    std::vector<Characteristic> characteristics;
    Internal::CollectedText results, components;
    qint64 parts = 0;
    QDateTime ended;
};

QifFile::Content::Content(const QString& path, const HandedRun& about)
    : file(path), run(about), standard(next()), ended(about.started) {
    if (!Internal::lineOf(run.station).isEmpty())
        device = next();
    for (int i = 0; i < static_cast<int>(run.characteristics.size()); ++i) {
        if (const UnitKind* kind = kindOf(run.characteristics[i].unit)) {
            const qint64 definition = next(), nominal = next();
            characteristics.push_back({i, kind, definition, nominal, next()});
        }
    }
}

void QifFile::Content::writeHead(QXmlStreamWriter& xml) const {
    xml.writeTextElement("QPId", QUuid::createUuid().toString(QUuid::WithoutBraces));
    xml.writeStartElement("Version");
    xml.writeTextElement("TimeCreated", timeText(ended));
    xml.writeEndElement();
    xml.writeStartElement("Header");
    xml.writeStartElement("Application");
    xml.writeTextElement("Name", Internal::lineOf(run.program));
    xml.writeEndElement();
    xml.writeEndElement();
    startList(xml, "StandardsDefinitions", 1);  // what the values are judged by: the plan
    xml.writeStartElement("Standard");
    xml.writeAttribute("id", numberText(standard));
    xml.writeStartElement("Organization");
    xml.writeTextElement("OtherStandardsOrganization", "inspection plan of kvmeasure");
    xml.writeEndElement();
    const QString plan = Internal::lineOf(run.plan);
    xml.writeTextElement("Designator", plan.isEmpty() ? QString("plan") : plan);
    if (!run.planDigest.isEmpty())
        xml.writeTextElement("Description", "SHA-256 " + Internal::lineOf(run.planDigest));
    xml.writeEndElement();
    xml.writeEndElement();
    writeUnits(xml);
    if (device == 0)
        return;
    xml.writeStartElement("MeasurementResources");
    startList(xml, "MeasurementDevices", 1);
    xml.writeStartElement("MeasurementDevice");
    xml.writeAttribute("id", numberText(device));
    xml.writeTextElement("Name", Internal::lineOf(run.station));
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
}

void QifFile::Content::writeUnits(QXmlStreamWriter& xml) const {
    xml.writeStartElement("FileUnits");
    for (const bool isPrimary : {true, false}) {
        if (isPrimary)
            xml.writeStartElement("PrimaryUnits");
        else
            startList(xml, "OtherUnits", 1);
        for (const UnitKind& row : unitKinds) {
            if (row.isPrimary != isPrimary)
                continue;
            xml.writeStartElement(row.element);
            xml.writeTextElement("SIUnitName", row.siName);
            xml.writeTextElement("UnitName", row.name);
            xml.writeStartElement("UnitConversion");
            xml.writeTextElement("Factor", row.factor);
            xml.writeEndElement();
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

void QifFile::Content::writeCharacteristics(QXmlStreamWriter& xml) const {
    const auto length = static_cast<qint64>(characteristics.size());
    const auto start = [&](const Characteristic& one, const char* aspect, qint64 id) {
        xml.writeStartElement(QString("UserDefined") + one.kind->kind + "Characteristic" + aspect);
        xml.writeAttribute("id", numberText(id));
    };
    xml.writeStartElement("Characteristics");
    xml.writeTextElement("FormalStandardId", numberText(standard));
    startList(xml, "CharacteristicDefinitions", length);
    for (const Characteristic& one : characteristics) {
        const Value& value = run.characteristics[one.place];
        const double least = value.tolerance.least(), greatest = value.tolerance.greatest();
        start(one, "Definition", one.definition);
        if (value.hasTolerance && (std::isfinite(least) || std::isfinite(greatest))) {
            xml.writeStartElement("Tolerance");
            if (std::isfinite(greatest))
                writeValue(xml, "MaxValue", *one.kind, greatest);
            if (std::isfinite(least))
                writeValue(xml, "MinValue", *one.kind, least);
            xml.writeTextElement("DefinedAsLimit", "true");
            xml.writeEndElement();
        } else {
            xml.writeTextElement("NonTolerance", "MEASURED");
        }
        xml.writeTextElement("WhatToMeasure", Internal::lineOf(value.name));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    startList(xml, "CharacteristicNominals", length);
    for (const Characteristic& one : characteristics) {
        const Value& value = run.characteristics[one.place];
        start(one, "Nominal", one.nominal);
        xml.writeTextElement("CharacteristicDefinitionId", numberText(one.definition));
        xml.writeTextElement("Name", Internal::lineOf(value.name));
        if (value.hasTolerance && value.tolerance.hasNominal)
            writeValue(xml, "TargetValue", *one.kind, value.tolerance.nominal);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    startList(xml, "CharacteristicItems", length);
    for (const Characteristic& one : characteristics) {
        start(one, "Item", one.item);
        xml.writeTextElement("Name", Internal::lineOf(run.characteristics[one.place].name));
        xml.writeTextElement("CharacteristicNominalId", numberText(one.nominal));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
}

void QifFile::Content::writeMeasurement(QXmlStreamWriter& xml, const Value& value, std::size_t place,
                                        const QString& time) {
    const Characteristic& one = characteristics[place];
    xml.writeStartElement(QString("UserDefined") + one.kind->kind + "CharacteristicMeasurement");
    xml.writeAttribute("id", numberText(next()));
    QStringList said{value.reason, value.warning};
    said.removeAll(QString());
    if (!said.isEmpty())
        xml.writeTextElement("Description", Internal::lineOf(said.join("; ")));
    writeStatus(xml, "Status", "CharacteristicStatusEnum", statusOf(value));
    xml.writeTextElement("CharacteristicItemId", numberText(one.item));
    xml.writeTextElement("TimeStamp", time);
    if (device != 0)
        writeReference(xml, "MeasurementDeviceIds", device);
    if (value.isValid) {
        startValue(xml, "Value", *one.kind);
        if (std::isfinite(value.u)) {  // the two go together; a known error would have been corrected
            xml.writeAttribute("combinedUncertainty", decimal(value.u));
            xml.writeAttribute("meanError", "0");
        }
        xml.writeCharacters(decimal(value.value));
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

void QifFile::Content::writeTraceability(QXmlStreamWriter& xml) const {
    xml.writeStartElement("InspectionTraceability");
    xml.writeTextElement("InspectionStart", timeText(run.started));
    xml.writeTextElement("InspectionEnd", timeText(ended));
    const QString name = Internal::lineOf(run.operatorName);
    if (!name.isEmpty()) {
        xml.writeStartElement("InspectionOperator");
        xml.writeTextElement("Name", name);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

QifFile::QifFile(const QString& path, const HandedRun& run)
    : content_(std::make_unique<Content>(path, run)) {}

QifFile::~QifFile() = default;

int QifFile::leftOut() const {
    return static_cast<int>(content_->run.characteristics.size()) -
           static_cast<int>(content_->characteristics.size());
}

void QifFile::add(const StoredPart& part, const QDateTime& measured) {
    Content& content = *content_;
    content.ended = measured;
    const qint64 component = content.next();
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartElement("MeasurementResults");
    xml.writeAttribute("id", numberText(content.next()));
    if (!content.characteristics.empty()) {
        xml.writeStartElement("MeasuredCharacteristics");
        startList(xml, "CharacteristicMeasurements", static_cast<qint64>(content.characteristics.size()));
        for (std::size_t i = 0; i < content.characteristics.size(); ++i)
            content.writeMeasurement(xml,
                                     Internal::valueOf(content.run, part, content.characteristics[i].place),
                                     i, timeText(measured));
        xml.writeEndElement();
        xml.writeEndElement();
    }
    writeStatus(xml, "InspectionStatus", "InspectionStatusEnum", statusOf(part));
    writeReference(xml, "ActualComponentIds", component);
    xml.writeEndElement();
    content.results.add(bytes + '\n');

    bytes.clear();
    QXmlStreamWriter one(&bytes);
    one.writeStartElement("ActualComponent");
    one.writeAttribute("id", numberText(component));
    one.writeTextElement("SerialNumber", Internal::lineOf(part.serial.isEmpty() ? part.name : part.serial));
    writeStatus(one, "Status", "InspectionStatusEnum", statusOf(part));
    one.writeEndElement();
    content.components.add(bytes + '\n');
    ++content.parts;
}

void QifFile::commit() {
    Content& content = *content_;
    QString text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement("QIFDocument");
    xml.writeDefaultNamespace("http://qifstandards.org/xsd/qif3");
    xml.writeAttribute("versionQIF", "3.0.0");
    xml.writeAttribute("idMax", numberText(content.lastId));
    content.writeHead(xml);
    if (!content.characteristics.empty())
        content.writeCharacteristics(xml);
    const auto flush = [&] {
        xml.writeCharacters("\n");  // which closes the last tag
        content.file.write(text.toUtf8());
        text.clear();
    };
    if (content.parts > 0) {  // results without any part are none
        xml.writeStartElement("Results");
        startList(xml, "MeasurementResultsSet", content.parts);
        flush();
        content.results.copyTo(content.file);
        xml.writeEndElement();
        startList(xml, "ActualComponentSets", 1);
        startList(xml, "ActualComponentSet", content.parts);
        flush();
        content.components.copyTo(content.file);
        xml.writeEndElement();
        xml.writeEndElement();
        content.writeTraceability(xml);
        xml.writeEndElement();
    }
    xml.writeEndDocument();
    content.file.write(text.toUtf8());
    content.file.commit();
}

}  // namespace KvMeasure
