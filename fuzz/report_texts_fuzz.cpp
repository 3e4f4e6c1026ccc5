// Any texts in what is handed on: pages keep their elements and data, rows of CSV their fields, JSON lines
// their values; AQDEF stays lines of fields, QIF well-formed XML.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmeasure/base/text.h>
#include <kvmeasure/report/aqdef_file.h>
#include <kvmeasure/report/csv_row.h>
#include <kvmeasure/report/html_page.h>
#include <kvmeasure/report/qif_file.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QXmlStreamReader>

#include <array>

namespace {

using namespace KvMeasure;

constexpr int kTexts = 6;
using Texts = std::array<QString, kTexts>;

/// The front of the input in pieces, UTF-8 or not.
Texts textsOf(Fuzz::Input& input) {
    Texts texts;
    int sizes[kTexts];
    for (int& size : sizes)
        size = input.byte();
    const QByteArray bytes = input.rest();
    int place = 0;
    for (int i = 0; i < kTexts; ++i) {
        const int size = i + 1 < kTexts ? sizes[i] : int(bytes.size());
        texts[std::size_t(i)] = QString::fromUtf8(bytes.mid(place, size));
        place += size;
    }
    return texts;
}

QByteArray pageOf(const Texts& texts, const QJsonObject& results) {
    HtmlPage page(texts[0]);
    page.addFact(texts[1], "a" + texts[2]);
    page.setVerdict(HtmlPage::Bad, texts[3]);
    page.startDetails(texts[4], true);
    page.addHeading("a" + texts[4]);
    page.addTable("a" + texts[0], {texts[1], texts[2]}, {{texts[3], texts[5]}, {texts[5]}});
    page.endDetails();
    page.addText("a" + texts[5]);
    page.setResults(results);
    return page.html();
}

void writePage(const Texts& texts) {
    static const int elements =
        int(pageOf({"x", "x", "x", "x", "x", "x"}, {{"x", QJsonArray{"x"}}}).count('<'));
    const QJsonObject results{{texts[0], QJsonArray{texts[1], texts[5]}}};
    const QByteArray page = pageOf(texts, results);
    Fuzz::require(page.count('<') == elements, "no text adds an element to a page");
    const QByteArray start = "id=\"results\">";
    const int from = int(page.indexOf(start) + start.size());
    const QByteArray data = page.mid(from, int(page.indexOf("</script>", from)) - from);
    Fuzz::require(QJsonDocument::fromJson(data).object() == results, "the data of a page is what it was");
}

void writeRow(const Texts& texts) {
    QStringList fields;
    for (const QString& text : texts)
        fields.append(text);
    const QByteArray row = csvRow(fields).toUtf8();
    Fuzz::require(row.count('\n') == 1 && row.endsWith('\n'), "a row is a line");
    const QList<QByteArray> read = csvFields(row);
    Fuzz::require(read.size() == fields.size(), "a row keeps its fields");
    for (int i = 0; i < int(read.size()); ++i)
        Fuzz::require(QString::fromUtf8(read[i]) == printable(fields[i]), "a field comes back");
}

/// The plan that texts come from, and a part with values, one of them missing.
struct Result {
    InspectionPlan plan;
    MatchedProfile profile;

    explicit Result(const Texts& texts) {
        plan.name = texts[0];
        profile.name = texts[1];
        profile.reason = texts[2];
        profile.z = std::nan("");
        profile.found = 1;
        for (int i = 0; i < 2; ++i) {
            Value value;
            value.name = texts[std::size_t(3 + i)];
            value.unit = i == 0 ? "mm" : "deg";
            value.isValid = i == 0;
            value.reason = value.isValid ? QString() : texts[5];
            value.note = texts[2];
            profile.best.values.append(value);
        }
    }
    StoredPart part() const {
        StoredPart stored;
        stored.name = profile.name;
        stored.serial = profile.reason;
        stored.reason = profile.reason;
        stored.values = profile.best.values;
        return stored;
    }
};

void writeLine(const Texts& texts) {
    const Result result(texts);
    QString line;
    MatchReport report(MatchReport::JsonValues, result.plan, false, false,
                       [&line](const QString& more) { line += more; });
    report.setWritesLines(true);
    report.add(result.profile);
    report.finish();
    const QByteArray bytes = line.toUtf8();
    Fuzz::require(bytes.count('\n') == 1 && bytes.endsWith('\n'), "a result is a line");
    const QJsonObject read = QJsonDocument::fromJson(bytes).object();
    Fuzz::require(read["file"].toString() == texts[1], "a name comes back");
    const QJsonObject missing = read["measurements"].toArray().at(1).toObject();
    Fuzz::require(missing["reason"].toString() == texts[5], "a reason comes back");
}

template <class File>
QByteArray handedOn(const Texts& texts, const QString& name) {
    const Result result(texts);
    const QDateTime when = QDateTime::fromMSecsSinceEpoch(0);
    const HandedRun run{texts[0], texts[1], "fuzz", texts[2], texts[5], when, result.profile.best.values};
    File file(Fuzz::scratchPath(name), run);
    file.add(result.part(), when);
    file.commit();
    return Fuzz::scratchBytes(name);
}

void writeAqdef(const Texts& texts) {
    const QByteArray bytes = handedOn<AqdefFile>(texts, "out.dfq");
    Fuzz::require(bytes.endsWith("\r\n"), "AQDEF ends with a line");
    const QByteArray mark = "\xef\xbb\xbf";
    for (QByteArray& line : bytes.mid(bytes.startsWith(mark) ? 3 : 0, bytes.size() - 2).split('\n')) {
        line = line.trimmed();
        Fuzz::require(line.isEmpty() || (line[0] == 'K' && line[1] >= '0' && line[1] <= '9'),
                      "AQDEF is lines of fields");
        for (const char c : line)
            Fuzz::require(static_cast<unsigned char>(c) >= ' ', "a field is one line");
    }
}

void writeQif(const Texts& texts) {
    QXmlStreamReader reader(handedOn<QifFile>(texts, "out.qif"));
    while (!reader.atEnd())
        reader.readNext();
    Fuzz::require(!reader.hasError(), "QIF is XML");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const bool isFile = input.isOneIn(64);  // takes a hundred times as long as texts
    const int kind = input.byte();
    const Texts texts = textsOf(input);
    if (isFile)
        (kind % 2 == 0 ? writeAqdef : writeQif)(texts);
    else if (kind < 64)
        writePage(texts);
    else
        (kind < 160 ? writeRow : writeLine)(texts);
    return 0;
}
