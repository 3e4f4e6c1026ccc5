// The digest is a polynomial of the names' hashes, modulo two primes: behind n further names a sum is the old
// one times base^n, plus the sum of those names. M. O. Rabin and R. M. Karp, IBM J. Res. Dev. 31 (1987)
// 249-260. Adding a name costs its hash, appending a list log n products.

#include <kvmeasure/base/file_list.h>

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/filled_in.h>
#include <kvmeasure/base/regular_file.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QtEndian>

namespace KvMeasure {

namespace {

constexpr quint64 kPrimes[] = {2147483647, 2147483629};  // below 2^31: products fit
constexpr quint64 kBases[] = {1220703125, 1162261467};   // 5^13, 3^19

quint64 hashOf(const QByteArray& name) {
    return qFromLittleEndian<quint64>(QCryptographicHash::hash(name, QCryptographicHash::Md5).constData());
}

quint64 power(quint64 base, qint64 exponent, quint64 prime) {
    quint64 result = 1;
    for (; exponent > 0; exponent >>= 1) {
        if ((exponent & 1) != 0)
            result = result * base % prime;
        base = base * base % prime;
    }
    return result;
}

}  // namespace

void ListDigest::add(const QByteArray& name) {
    const quint64 hash = hashOf(name);
    const quint64 words[] = {hash & 0xFFFFFFFFU, hash >> 32U};
    for (int i = 0; i < 2; ++i)
        sums_[i] = (sums_[i] * kBases[i] + words[i] + 1) % kPrimes[i];
    ++count_;
}

void ListDigest::append(const ListDigest& behind) {
    for (int i = 0; i < 2; ++i)
        sums_[i] = (sums_[i] * power(kBases[i], behind.count_, kPrimes[i]) + behind.sums_[i]) % kPrimes[i];
    count_ += behind.count_;
}

QByteArray ListDigest::text() const {
    constexpr int kDigits = 8, kHexadecimal = 16;
    QByteArray text;
    for (const quint64 sum : sums_)
        text += QByteArray::number(sum, kHexadecimal).rightJustified(kDigits, '0');
    return text;
}

bool ListDigest::read(const QByteArray& text, qint64 count) {
    constexpr int kDigits = 8, kHexadecimal = 16;
    bool isFirst = false, isSecond = false;
    const quint64 sums[] = {text.left(kDigits).toUInt(&isFirst, kHexadecimal),
                            text.mid(kDigits).toUInt(&isSecond, kHexadecimal)};
    if (!isFirst || !isSecond || text.size() != 2 * kDigits || count < 0)
        return false;
    if (sums[0] >= kPrimes[0] || sums[1] >= kPrimes[1])
        return false;
    sums_[0] = sums[0];
    sums_[1] = sums[1];
    count_ = count;
    return true;
}

bool NameSet::insert(const QByteArray& name) {
    if (2 * (count_ + 1) > places_.size())
        grow();
    const quint64 hash = hashOf(name) | 1U;
    std::size_t i = static_cast<std::size_t>(hash >> 1U) & (places_.size() - 1);
    for (; places_[i] != 0; i = (i + 1) & (places_.size() - 1)) {
        if (places_[i] == hash)
            return false;
    }
    places_[i] = hash;
    ++count_;
    return true;
}

void NameSet::grow() {
    constexpr std::size_t kFirst = 1024;
    std::vector<quint64> old(places_.empty() ? kFirst : 2 * places_.size());
    old.swap(places_);
    for (const quint64 hash : old) {
        std::size_t i = static_cast<std::size_t>(hash >> 1U) & (places_.size() - 1);
        while (hash != 0 && places_[i] != 0)
            i = (i + 1) & (places_.size() - 1);
        if (hash != 0)
            places_[i] = hash;
    }
}

FileList::FileList(const QString& path) : path_(path), file_(openedFile(path)) {
    NameSet seen;
    for (QByteArray name; readName(name);) {
        digest_.add(name);
        if (seen.insert(name))
            continue;
        ++duplicates_;
        if (duplicate_.isEmpty())
            duplicate_ = QString::fromUtf8(name);
    }
    if (digest_.count() == 0)
        throw Error(path_ + ": names no file; it takes one name a line").inFile(path_);
    line_ = 0;
    if (!file_->seek(0))
        throw Error(filledIn("%1: cannot be read again: %2", path_, file_->errorString())).inFile(path_);
}

bool FileList::readName(QByteArray& name) {
    constexpr int kLongest = 1 << 16;
    while (true) {
        name = file_->readLine(kLongest);
        if (name.isEmpty()) {
            if (file_->error() != QFileDevice::NoError)
                throw Error(filledIn("%1: cannot be read: %2", path_, file_->errorString())).inFile(path_);
            return false;
        }
        if (++line_ == 1 && name.startsWith("\xEF\xBB\xBF"))
            name.remove(0, 3);
        if (name.size() >= kLongest - 1 && !name.endsWith('\n'))
            throw Error(filledIn("%1: line %2 is longer than 64 kB: is this a list of files?", path_, line_))
                .inFile(path_)
                .atLine(line_);
        if (name.contains('\0'))
            throw Error(filledIn("%1: line %2 has bytes 0: save the list as UTF-8", path_, line_))
                .inFile(path_)
                .atLine(line_);
        if (name.endsWith('\n'))
            name.chop(1);
        if (name.endsWith('\r'))
            name.chop(1);
        if (!name.isEmpty())
            return true;
    }
}

bool FileList::next(ListedFile& file) {
    QByteArray name;
    if (!readName(name))
        return false;
    file.path = QString::fromUtf8(name);
    file.fault.clear();
    if (file.path.toUtf8() != name)
        file.fault = "the name is not UTF-8; rename the file";
    else if (file.path == "-")
        file.fault = "standard input cannot be in a list; name a file called - as ./-";
    return true;
}

}  // namespace KvMeasure
