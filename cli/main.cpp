// kvmeasure: measures scanner profiles with templates of straight lines.

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/encoding.h"
#include "cli/exit_code.h"
#include "cli/parameters.h"
#include "cli/pictures.h"

#include <kvmeasure/base/error.h>

#include <kvmath/base/version.h>

#include <exception>

namespace KvMeasure {

namespace {

/// Throws Error for what is no UTF-8: no file of such a name could be opened.
QString fromTerminal(const QByteArray& word) {
    QString text = QString::fromUtf8(word);
    if (text.toUtf8() != word)
        throw Error(QString("\"%1\" is not UTF-8; rename the file, or give names in UTF-8").arg(text));
    return text;
}

int run(const QStringList& words) {
    if (words.value(0) != "--version")
        return runCommand(words);
    char* library = nullptr;
    char* version = nullptr;
    KvMath::GetVersion(library, version);
    print(QString("kvmeasure with %1 %2\n").arg(library, version));
    return Done;
}

int runWords(int argc, char** argv) {
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(fromTerminal(argv[i]));
    const int code = run(words);
    return sayMissingPictures() ? int(Refused) : code;
}

}  // namespace

}  // namespace KvMeasure

int main(int argc, char** argv) {
    KvMeasure::useUtf8ForFileNames();
    try {
        try {
            return KvMeasure::runWords(argc, argv);
        } catch (const KvMeasure::Help& help) {
            KvMeasure::print(help.text);
            return KvMeasure::Done;
        }
    } catch (const KvMeasure::Error& error) {
        KvMeasure::complain(error.text(KvMeasure::optionOf));
    } catch (const std::exception& error) {
        KvMeasure::complain(QString("gave up: ") + error.what());
    }
    return KvMeasure::Refused;
}
