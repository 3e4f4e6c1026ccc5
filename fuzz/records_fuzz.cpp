// Records of the three kinds of clouds and of profiles with z and with tags: what is read is written back
// byte by byte.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmath/profile/profile_sd.h>
#include <kvmath/profile/profile_z.h>

namespace {

template <class Record, class... Partial>
void readAndWriteBack(QFile& file, const QByteArray& bytes, Partial... acceptPartial) {
    static Fuzz::ScratchFile out("out");
    file.seek(0);
    for (qint64 before = 0;; before = file.pos()) {
        Record record;
        const int count = record.readFromFile(file, acceptPartial...);
        Fuzz::require(record.points.size() <= bytes.size(), "points come from bytes");
        record.calcRange();
        if (count < 0) {
            Fuzz::require(file.pos() == before, "a failed read puts the position back");
            return;
        }
        Fuzz::require(count == record.points.size() && out.rewind() && record.writeToFile(out.device()),
                      "a record has the number of points that is returned, and can be written");
        if (sizeof...(Partial) > 0)
            continue;
        const QByteArray taken = bytes.mid(int(before), int(file.pos() - before));
        Fuzz::require(out.written() == taken, "what was read is written back");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fuzz::ScratchFile in("in");
    const QByteArray bytes = Fuzz::Input(data, size).rest();
    in.with(bytes);
    QFile& file = in.device();
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXY>>(file, bytes);
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXYZ>>(file, bytes);
    readAndWriteBack<KvMath::KvPointCloud<KvMath::KvPointXYZRGB>>(file, bytes);
    readAndWriteBack<KvMath::KvProfileZ>(file, bytes);
    readAndWriteBack<KvMath::KvProfileZ>(file, bytes, true);
    readAndWriteBack<KvMath::KvProfileSD>(file, bytes);
    readAndWriteBack<KvMath::KvProfileSD>(file, bytes, true);
    return 0;
}
