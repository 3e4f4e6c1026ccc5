// PLY, ascii and binary. Only the vertices and their x, y, z are taken; elements before them are passed over.
// Nothing is allocated by what the header announces: counts are held against the bytes that are there.

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/progress.h>
#include <kvmeasure/base/text.h>
#include <kvmeasure/profiles/profile_file.h>
#include <kvmeasure/scans/scan_forms_p.h>

#include <QtCore/QList>
#include <QtCore/QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace KvMeasure {

namespace {

constexpr int kLongestLine = 65'536;  // bytes
constexpr int kMostHeaderLines = 10'000;

struct Type {
    const char* name;
    const char* otherName;
    int bytes;
    char kind;  // i signed, u unsigned, f floating-point
};

constexpr Type kTypes[] = {
    {"char", "int8", 1, 'i'},     {"uchar", "uint8", 1, 'u'},    {"short", "int16", 2, 'i'},
    {"ushort", "uint16", 2, 'u'}, {"int", "int32", 4, 'i'},      {"uint", "uint32", 4, 'u'},
    {"float", "float32", 4, 'f'}, {"double", "float64", 8, 'f'},
};

struct Property {
    QByteArray name;
    const Type* count = nullptr;  // of a list
    const Type* type = nullptr;
};

struct Element {
    QByteArray name;
    quint64 count = 0;
    QList<Property> properties;

    bool hasList() const {
        return std::any_of(properties.begin(), properties.end(),
                           [](const Property& p) { return p.count != nullptr; });
    }
    qint64 bytes() const {  // of one; lists with the length alone
        qint64 sum = 0;
        for (const Property& property : properties)
            sum += (property.count != nullptr ? property.count : property.type)->bytes;
        return sum;
    }
    qint64 textBytes() const {
        return 2 * qint64(properties.size());
    }  // of one: a digit and a separator each
};

/// Number at `bytes`; exact for every type but the largest 64-bit ones, which do not occur.
double numberAt(const char* bytes, const Type& type, bool isBigEndian) {
    std::array<char, 8> raw{};
    std::memcpy(raw.data(), bytes, std::size_t(type.bytes));
    if (isBigEndian)
        std::reverse(raw.begin(), raw.begin() + type.bytes);
    const auto bits = qFromLittleEndian<quint64>(raw.data());
    if (type.kind == 'u')
        return double(bits);
    if (type.kind == 'i') {
        const quint64 sign = quint64(1) << (8 * type.bytes - 1);
        return double(bits) - ((bits & sign) != 0 ? 2.0 * double(sign) : 0.0);
    }
    if (type.bytes == 8) {
        double value = 0;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }
    const auto low = quint32(bits);
    float value = 0;
    std::memcpy(&value, &low, sizeof(value));
    return double(value);
}

class PlyReader {
public:
    PlyReader(QFile& file, const ScanOptions& options, Scan& scan)
        : file_(file), path_(file.fileName()), options_(options), scan_(scan), units_(unitsOfPoints(options)),
          heights_(options.unset) {}
    void read();

private:
    [[noreturn]] void fail(const QString& text) const {
        throw Error(QString("%1: PLY: %2").arg(path_, text)).inFile(path_);
    }
    QByteArray line(const char* where);
    const Type* findType(const QByteArray& name) const;
    void readHeader();
    void addElement(const QList<QByteArray>& words);
    void addProperty(const QList<QByteArray>& words);
    void chooseVertices(const Element& element);
    void requireBytes(const Element& element, qint64 bytesOfOne) const;
    void skip(const Element& element);
    void readTextVertices(const Element& element);
    void readFixedVertices(const Element& element);
    void readListVertices(const Element& element);
    double readNumber(const Type& type);
    void skipList(const Property& property);
    void addVertex(const std::array<double, 3>& at);
    [[noreturn]] void failCut(quint64 there, const Element& element) const {
        fail(filledIn("announces %1 elements \"%2\", the file ends after %3; it is cut or damaged",
                      element.count, shown(element.name), there));
    }

    QFile& file_;
    const QString path_;
    const ScanOptions& options_;
    Scan& scan_;
    bool isText_ = false, isBigEndian_ = false;
    QList<Element> elements_;
    std::array<int, 3> place_{{-1, -1, -1}};  // of x, height, scan among the properties of a vertex
    std::array<LengthUnit, 3> units_;         // of these
    HeightWatch heights_;
};

QByteArray PlyReader::line(const char* where) {
    const QByteArray text = file_.readLine(kLongestLine);
    if (text.isEmpty())
        fail(QString("the file ends in %1").arg(where));
    if (text.size() >= kLongestLine - 1 && !text.endsWith('\n'))
        fail(filledIn("a line of %1 is longer than %2 bytes", where, kLongestLine));
    return text.simplified();
}

const Type* PlyReader::findType(const QByteArray& name) const {
    for (const Type& type : kTypes) {
        if (name == type.name || name == type.otherName)
            return &type;
    }
    fail(QString("unknown type \"%1\"").arg(shown(name)));
}

void PlyReader::addElement(const QList<QByteArray>& words) {
    Element element;
    bool isNumber = false;
    element.name = words.value(1);
    element.count = words.value(2).toULongLong(&isNumber);
    if (!isNumber || words.size() != 3)
        fail(QString("expected \"element NAME COUNT\", found \"%1\"").arg(shown(words.join(' '))));
    elements_.append(element);
}

void PlyReader::addProperty(const QList<QByteArray>& words) {
    const bool isList = words.value(1) == "list";
    if (words.size() != (isList ? 5 : 3) || elements_.isEmpty())
        fail(QString("a property without element, type or name: \"%1\"").arg(shown(words.join(' '))));
    Property property;
    property.name = words.last();
    property.type = findType(words[words.size() - 2]);
    if (isList)
        property.count = findType(words[2]);
    if (isList && property.count->kind == 'f')
        fail("the length of a list must be a whole number");
    elements_.last().properties.append(property);
}

void PlyReader::readHeader() {
    bool hasFormat = false;
    if (line("its header") != "ply")
        fail("expected \"ply\" in the first line");
    for (int i = 0; i < kMostHeaderLines; ++i) {
        const QList<QByteArray> words = line("its header").split(' ');
        const QByteArray& word = words.first();
        if (word == "end_header") {
            if (!hasFormat)
                fail("the line \"format ...\" is missing");
            return;
        }
        if (word == "format") {
            const QByteArray form = words.value(1);
            hasFormat = form == "ascii" || form == "binary_little_endian" || form == "binary_big_endian";
            if (!hasFormat)
                fail(QString("unknown format \"%1\"").arg(shown(form)));
            isText_ = form == "ascii";
            isBigEndian_ = form == "binary_big_endian";
        } else if (word == "element") {
            addElement(words);
        } else if (word == "property") {
            addProperty(words);
        } else if (word != "comment" && word != "obj_info" && !word.isEmpty()) {
            fail(QString("unknown line \"%1\" in its header").arg(shown(words.join(' '))));
        }
    }
    fail("its header does not end");
}

/// The places of x, y and z among the properties.
void PlyReader::chooseVertices(const Element& element) {
    for (int i = 0; i < element.properties.size(); ++i) {
        const Property& property = element.properties[i];
        const int axis = property.name.size() == 1 ? property.name[0] - 'x' : -1;
        if (axis >= 0 && axis < 3 && property.count == nullptr)
            place_[std::size_t(axis)] = i;
    }
    for (int axis = 0; axis < 3; ++axis) {
        if (place_[std::size_t(axis)] < 0)
            fail(QString("its vertices have no number \"%1\"").arg(QChar('x' + axis)));
    }
    if (options_.heightLast) {
        std::swap(place_[1], place_[2]);
        std::swap(units_[1], units_[2]);
    }
}

void PlyReader::addVertex(const std::array<double, 3>& at) {
    const auto mm = [this](std::size_t axis, double value) { return coordinate(units_[axis].toMm(value)); };
    scan_.add(KvMath::KvPointXYZ(mm(0, heights_.takePlace(at[0])), mm(1, heights_.take(at[1], 0)),
                                 mm(2, heights_.takePlace(at[2]))));
    scan_.requireRoom(path_);
}

double PlyReader::readNumber(const Type& type) {
    std::array<char, 8> bytes{};
    if (file_.read(bytes.data(), type.bytes) != type.bytes)
        fail("the file ends within an element; it is cut or damaged");
    return numberAt(bytes.data(), type, isBigEndian_);
}

void PlyReader::skipList(const Property& property) {
    const double bytes = readNumber(*property.count) * property.type->bytes;
    if (!(bytes >= 0 && bytes <= double(file_.size() - file_.pos())))
        fail("a list goes beyond the end of the file; it is cut or damaged");
    file_.seek(file_.pos() + qint64(bytes));
}

/// So many elements can be in the rest of the file. `bytesOfOne`: the fewest that one takes.
void PlyReader::requireBytes(const Element& element, qint64 bytesOfOne) const {
    const qint64 separatorBehindTheLast = isText_ ? 1 : 0;
    const qint64 left = file_.size() - file_.pos();
    const quint64 room = quint64(left + separatorBehindTheLast) / quint64(bytesOfOne);
    if (element.count <= room)
        return;
    if (!isText_ && !element.hasList())
        failCut(room, element);
    fail(
        filledIn("announces %1 elements \"%2\", the %3 bytes behind its header hold at most %4; it is cut or "
                 "damaged",
                 element.count, shown(element.name), left, room));
}

/// Passes over an element in front of the vertices.
void PlyReader::skip(const Element& element) {
    if (element.properties.isEmpty() && !isText_)
        return;
    if (!isText_ && !element.hasList()) {
        requireBytes(element, element.bytes());
        file_.seek(file_.pos() + qint64(element.count) * element.bytes());
        return;
    }
    for (quint64 i = 0; i < element.count; ++i) {  // each takes a byte at least, or the file ends
        if (isText_) {
            line("its elements");
            continue;
        }
        for (const Property& property : element.properties) {
            if (property.count != nullptr)
                skipList(property);
            else
                readNumber(*property.type);
        }
    }
}

void PlyReader::readTextVertices(const Element& element) {
    ProgressReport report(options_.progress, path_, file_.size());
    for (quint64 i = 0; i < element.count; ++i) {
        if (file_.atEnd())
            failCut(i, element);
        const QList<QByteArray> words = line("its vertices").split(' ');
        std::array<double, 3> at{};
        int word = 0;
        for (int k = 0; k < element.properties.size(); ++k) {
            bool isNumber = false;
            const double value = textNumber(words.value(word++), isNumber);
            if (!isNumber)
                fail(filledIn("vertex %1: expected a number for \"%2\", found \"%3\"", i,
                              shown(element.properties[k].name), shown(words.value(word - 1))));
            if (element.properties[k].count != nullptr) {
                if (!(value >= 0 && value <= double(words.size() - word) && value == std::floor(value)))
                    fail(filledIn("vertex %1: its list \"%2\" cannot have %3 entries", i,
                                  shown(element.properties[k].name), value));
                word += int(value);
            }
            for (std::size_t axis = 0; axis < 3; ++axis) {
                if (place_[axis] == k)
                    at[axis] = value;
            }
        }
        if (word != words.size())
            fail(filledIn(
                "vertex %1: has %2 numbers, expected %3; leave out what no property of the header names", i,
                words.size(), word));
        addVertex(at);
        report.show(file_.pos());
    }
}

void PlyReader::readFixedVertices(const Element& element) {
    constexpr quint64 kMostAtOnce = 4'096;
    const qint64 stride = element.bytes();
    std::array<qint64, 3> offsets{};
    std::array<const Type*, 3> types{};
    bool areFloats = !isBigEndian_;  // little-endian: nearly always
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (int k = 0; k < place_[axis]; ++k)
            offsets[axis] += element.properties[k].type->bytes;
        types[axis] = element.properties[place_[axis]].type;
        areFloats = areFloats && types[axis]->kind == 'f' && types[axis]->bytes == 4;
    }
    ProgressReport report(options_.progress, path_, file_.size());
    for (quint64 left = element.count; left > 0;) {
        const auto wanted = qint64(std::min(left, kMostAtOnce));
        const QByteArray bytes = file_.read(wanted * stride);
        if (bytes.size() != wanted * stride)
            failCut(element.count - left, element);
        for (qint64 i = 0; i < wanted; ++i) {
            std::array<double, 3> at{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const char* const number = bytes.constData() + i * stride + offsets[axis];
                at[axis] = areFloats ? double(qFromLittleEndian<float>(number))
                                     : numberAt(number, *types[axis], isBigEndian_);
            }
            addVertex(at);
        }
        left -= quint64(wanted);
        report.show(file_.pos());
    }
}

void PlyReader::readListVertices(const Element& element) {
    ProgressReport report(options_.progress, path_, file_.size());
    for (quint64 i = 0; i < element.count; ++i) {
        std::array<double, 3> at{};
        for (int k = 0; k < element.properties.size(); ++k) {
            const Property& property = element.properties[k];
            if (property.count != nullptr) {
                skipList(property);
                continue;
            }
            const double value = readNumber(*property.type);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                if (place_[axis] == k)
                    at[axis] = value;
            }
        }
        addVertex(at);
        report.show(file_.pos());
    }
}

void PlyReader::read() {
    readHeader();
    for (const Element& element : elements_) {
        if (element.name != "vertex") {
            skip(element);
            continue;
        }
        scan_.form = isText_        ? "PLY, ascii"
                     : isBigEndian_ ? "PLY, binary big-endian"
                                    : "PLY, binary little-endian";
        chooseVertices(element);
        requireBytes(element, isText_ ? element.textBytes() : element.bytes());
        if (isText_)
            readTextVertices(element);
        else if (element.hasList())
            readListVertices(element);
        else
            readFixedVertices(element);
        scan_.hasUnits = true;
        scan_.doubt = heights_.warning();
        return;
    }
    fail("has no element \"vertex\"");
}

}  // namespace

void readPly(QFile& file, const ScanOptions& options, Scan& scan) { PlyReader(file, options, scan).read(); }

}  // namespace KvMeasure
