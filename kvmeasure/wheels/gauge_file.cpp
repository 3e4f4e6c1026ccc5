// Files of gauges are text. The form is told by the first line that says anything: "KEY=VALUE" with a name in
// front of the first sign of equality, or the word "header.begin" or "spline.begin". A file is read once,
// line by line. Comments of blocks begin with '!' or '%'; KEY=VALUE files mark points that are not in use by
// a quotation mark.

#include <kvmeasure/wheels/gauge_file.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/profiles/text_lines.h>
#include <kvmeasure/wheels/gauge_frame_p.h>

#include <QtCore/QRegularExpression>

#include <cmath>
#include <limits>

namespace KvMeasure {

using Internal::GaugeRow;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr qint64 kLongestLine = 65'536;
constexpr qint64 kLargestFile = 256LL * 1024 * 1024;
constexpr std::size_t kMostFields = 1000;
constexpr double kFarthest = 1e9;  // mm

/// The text without comments behind '!' and without blanks.
QString withoutComment(const QString& text) {
    QString kept;
    bool isQuoted = false;
    for (const QChar letter : text) {
        if (letter == '\'')
            isQuoted = !isQuoted;
        if (letter == '!' && !isQuoted)
            break;
        kept += letter;
    }
    return kept.trimmed();
}

QString unquoted(const QString& text) {
    for (const QChar mark : {QChar('\''), QChar('"')}) {
        if (text.size() > 1 && text.startsWith(mark) && text.endsWith(mark))
            return text.mid(1, text.size() - 2).trimmed();
    }
    return text;
}

/// "KEY=VALUE", its key a word that begins with a letter.
bool isAssignment(const QByteArray& line) {
    static const QRegularExpression start("^\\s*[A-Za-z][A-Za-z0-9_. -]*+\\s*=");
    return start.match(QString::fromLatin1(line)).hasMatch();
}

bool isBlockComment(const QByteArray& line) { return line.startsWith('!') || line.startsWith('%'); }

/// The form by the first lines of a text.
GaugeForm formOf(const QByteArray& start) {
    for (QByteArray line : QByteArray(start).replace('\r', '\n').split('\n')) {
        line = line.trimmed();
        if (line.startsWith("\xEF\xBB\xBF"))
            line.remove(0, 3);
        if (line.isEmpty() || isBlockComment(line))
            continue;
        const QByteArray word = line.toLower();
        if (word.startsWith("header.begin") || word.startsWith("spline.begin"))
            return GaugeForm::Blocks;
        return isAssignment(line) ? GaugeForm::KeyValue : GaugeForm::Profile;
    }
    return GaugeForm::Profile;
}

/// Reads the lines of one file.
class Reader {
public:
    Reader(QFile& file, const QString& path) : lines_(file, path, kLongestLine) {}

    GaugeProfile read(GaugeForm form) {
        profile_.form = form;
        if (form == GaugeForm::KeyValue)
            readKeyValue();
        else
            readBlocks();
        if (profile_.points.empty())
            lines_.fail("holds the header of a gauge's file and no points");
        const double stated = profile_.number("XYPoints");
        const auto rows = static_cast<double>(profile_.points.size()) + unused_;
        if (stated > rows)
            lines_.fail(filledIn("ends early: the header states %1 points, and %2 follow", stated, rows));
        if (unused_ > 0)
            profile_.notes.append("left out: " + counted(unused_, "point") + ", marked as not in use");
        return profile_;
    }

private:
    void addField(const QString& name, const QString& value) {
        if (profile_.header.size() >= kMostFields)
            lines_.fail("has more than 1000 fields above its points");
        profile_.header.push_back({name, unquoted(value)});
    }

    void addPoint(const QByteArray& line) {
        const GaugeRow row = Internal::gaugeRow(line);
        if (!row.isPoint)
            lines_.fail("\"" + shown(line) + "\" is no point: two numbers are needed");
        if (static_cast<int>(profile_.points.size()) >= kLargestProfile)
            lines_.fail("has more than 1,000,000 points");
        profile_.points.emplace_back(row.numbers[0], row.numbers[1]);
    }

    void readKeyValue() {
        while (lines_.next()) {
            const QByteArray line = lines_.line().trimmed();
            if (line.isEmpty())
                continue;
            if (line.startsWith('"') || isBlockComment(line))
                unused_ += Internal::gaugeRow(line.mid(1)).isPoint ? 1 : 0;
            else if (line.contains('=')) {
                if (!profile_.points.empty())
                    lines_.fail("\"" + shown(line) +
                                "\" stands among the points; one file holds one section");
                const auto sign = line.indexOf('=');
                addField(decoded(line.left(sign)).trimmed(), decoded(line.mid(sign + 1)).trimmed());
            } else
                addPoint(line);
        }
    }

    /// "units.len.f = 1000." within "spline" becomes "spline.units.len.f".
    void readBlocks() {
        QString block;
        bool arePoints = false, isEnd = false;
        while (lines_.next()) {
            const QByteArray line = lines_.line().trimmed();
            if (line.isEmpty() || isEnd)
                continue;
            if (isBlockComment(line)) {
                unused_ += arePoints && Internal::gaugeRow(line.mid(1)).isPoint ? 1 : 0;
                continue;
            }
            const QString text = withoutComment(decoded(line));
            const QString word = text.toLower();
            if (word == "point.begin")
                arePoints = true;
            else if (word == "point.end")
                isEnd = arePoints;
            else if (word.endsWith(".begin"))
                block = word.left(word.size() - 6);
            else if (word.endsWith(".end"))
                block.clear();
            else if (arePoints)
                addPoint(text.toLatin1());
            else if (isAssignment(line)) {
                const auto sign = text.indexOf('=');
                const QString name = text.left(sign).trimmed();
                addField(block.isEmpty() ? name : block + '.' + name, text.mid(sign + 1).trimmed());
            } else
                lines_.fail("\"" + shown(line) + "\" is no field and no point");
        }
        if (arePoints && !isEnd)
            lines_.fail("ends early: \"point.end\" is missing");
    }

    TextLines lines_;
    GaugeProfile profile_;
    int unused_ = 0;
};

GaugeProfile readTable(const std::shared_ptr<QFile>& file, const QString& path, const TextOptions& options) {
    ProfileSource source(file, path, options);
    LoadedProfile loaded;
    if (!source.next(loaded))
        throw Error(path + ": holds no profile").inFile(path);
    if (!source.isAtEnd())
        throw Error(path + ": holds several profiles, expected one; make a file of each").inFile(path);
    GaugeProfile profile;
    profile.points.reserve(static_cast<std::size_t>(loaded.profile.points.size()));
    for (const KvMath::KvPointXY& p : loaded.profile.points)
        profile.points.emplace_back(static_cast<double>(p.x), static_cast<double>(p.y));
    if (loaded.unset > 0)
        profile.notes.append(filledIn("%1 not set", counted(loaded.unset, "point")));
    profile.warning = loaded.warning;
    return profile;
}

GaugeForm formOf(QFile& file) {
    constexpr int kStart = 16'384;
    const QByteArray start = file.peek(kStart);
    int badByte = 0;
    return textEncoding(start, badByte) == TextEncoding::NoText ? GaugeForm::Profile : formOf(start);
}

}  // namespace

QString GaugeProfile::field(const QString& name) const {
    for (const GaugeField& field : header) {
        if (field.name.compare(name, Qt::CaseInsensitive) == 0)
            return field.value;
    }
    return {};
}

double GaugeProfile::number(const QString& name) const {
    double value = kNaN;
    return parseNumber(field(name), value) ? value : kNaN;
}

QString objectName(GaugeObject object) {
    return object == GaugeObject::Wheel ? "wheel" : (object == GaugeObject::Rail ? "rail" : "cross-section");
}

GaugeProfile readGaugeProfile(const QString& fileName, const TextOptions& options) {
    return readGaugeProfile(openedFile(fileName), fileName, options);
}

GaugeProfile readGaugeProfile(const std::shared_ptr<QFile>& file, const QString& fileName,
                              const TextOptions& options) {
    const GaugeForm form = formOf(*file);
    GaugeProfile profile;
    if (form == GaugeForm::Profile) {
        profile = readTable(file, fileName, options);
    } else {
        if (file->size() > kLargestFile)
            throw Error(fileName + ": is larger than 256 MB; no gauge's file is").inFile(fileName);
        if (!options.givenOfTable.isEmpty())
            throw Error(
                filledIn("%1: is a gauge's own file; %2 is for tables", fileName, options.givenOfTable))
                .inFile(fileName);
        profile = Reader(*file, fileName).read(form);
        Internal::bringIntoFrame(profile, options);
    }
    for (const Vector& p : profile.points) {
        if (!(std::fabs(p.x) < kFarthest && std::fabs(p.y) < kFarthest))
            throw Error(fileName + ": a coordinate is beyond 1e9 mm").inFile(fileName);
    }
    return profile;
}

}  // namespace KvMeasure
