// Stands in for the fuzzing engine: feeds the target with the empty input and with all files in the
// directories named.

#include "fuzz/fuzz_input.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>

int main(int argc, char** argv) {
    LLVMFuzzerTestOneInput(nullptr, 0);
    int fed = 0;
    for (int i = 1; i < argc; ++i) {
        for (QDirIterator files(argv[i], QDir::Files); files.hasNext(); ++fed) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly))
                return 2;
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
        }
    }
    std::printf("%d inputs\n", fed);
    return fed > 0 ? 0 : 2;
}
