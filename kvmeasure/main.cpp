// kvmeasure: measures scanner profiles with templates of straight lines.

#include "kvmeasure/commands.h"
#include "kvmeasure/encoding.h"
#include "kvmeasure/failure.h"
#include "kvmeasure/print.h"

#include <kvmath/core/version.h>

#include <exception>

namespace KvMeasure {

namespace {

int run(const QStringList& words) {
    if (words.value(0) != "--version")
        return runCommand(words);
    char* library = nullptr;
    char* version = nullptr;
    KvMath::GetVersion(library, version);
    print(QString("kvmeasure with %1 %2\n").arg(library, version));
    return Done;
}

}  // namespace

}  // namespace KvMeasure

int main(int argc, char** argv) {
    KvMeasure::useUtf8ForFileNames();
    try {
        try {
            QStringList words;
            for (int i = 1; i < argc; ++i)
                words.append(QString::fromUtf8(argv[i]));
            return KvMeasure::run(words);
        } catch (const KvMeasure::Help& help) {
            KvMeasure::print(help.text);
            return KvMeasure::Done;
        }
    } catch (const KvMeasure::Failure& failure) {
        KvMeasure::complain(failure.text);
    } catch (const std::exception& error) {
        KvMeasure::complain(QString("gave up: ") + error.what());
    }
    return KvMeasure::Refused;
}
