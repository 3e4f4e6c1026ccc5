// The stream form of a template with measurements behind it: what was loaded is saved byte by byte.

#include "fuzz/fuzz_input.h"
#include "fuzz/template_use.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

namespace {

/// Lists for 65,536 template lines take milliseconds, and tell no more than those for a hundred. One input in
/// sixteen has them nevertheless.
bool hasManyLines(const QByteArray& bytes) {
    constexpr int most = 100, limit = 65536;
    qint32 lines = 0;
    if (bytes.size() < 4)
        return false;
    std::memcpy(&lines, bytes.constData(), sizeof lines);
    return lines > most && lines <= limit && lines % 16 != 0;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const QByteArray bytes = input.rest();
    if (hasManyLines(bytes))
        return 0;
    QDataStream stream(bytes);
    KvMath::TSTemplate lines(0);
    KvMath::TSMeasurementList measurements;
    const bool isLoaded = lines.load(stream);
    const qint64 end = stream.device()->pos();
    if (isLoaded && input.isOneIn(4)) {
        QByteArray saved;
        QDataStream out(&saved, QIODevice::WriteOnly);
        Fuzz::require(lines.save(out), "what is held can be saved");
        KvMath::TSTemplate again(0);
        QDataStream back(saved);
        Fuzz::require(saved.size() == end && again.load(back), "what was saved can be loaded");
    }
    measurements.load(stream);
    Fuzz::useTemplate(KvMath::TSTemplate(lines), measurements, input);
    return 0;
}
