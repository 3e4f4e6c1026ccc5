// Template documents as they come out of JSON: what was loaded is saved and loaded again unchanged. Numbers
// to judge and measure with follow the text behind a 0 byte.

#include "fuzz/fuzz_input.h"
#include "fuzz/json_mutator.h"
#include "fuzz/template_use.h"

#include <kvmath/tsearch/template_document.h>

namespace {

struct Document {
    KvMath::TSTemplate lines{0};
    KvMath::TSMeasurementList measurements;
    QString fileVersion, userVersion, name;

    bool load(const QVariant& doc) {
        return KvMath::loadTemplate(doc, lines, measurements, fileVersion, userVersion, name);
    }
    bool loadJson(const QByteArray& json) {
        const Fuzz::LeaksIgnored brokenJson;
        return KvMath::loadTemplateFromJson(json, lines, measurements, fileVersion, userVersion, name);
    }
    bool save(QVariant& doc) const {
        return KvMath::saveTemplate(doc, lines, measurements, fileVersion, userVersion, name);
    }
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const size_t text = Fuzz::textSize(data, size);
    Fuzz::Input input(data + text, size - text);
    const bool isRepeated = Fuzz::Input(data, size).isOneIn(4);
    const QVariant given = Fuzz::jsonValue({reinterpret_cast<const char*>(data), int(text)});
    Document first, second, fromBytes;
    const bool isLoaded = first.load(given);
    Fuzz::useTemplate(first.lines, first.measurements, input);
    if (!isRepeated)
        return 0;
    fromBytes.loadJson({reinterpret_cast<const char*>(data), int(text)});
    QVariant saved, again;
    Fuzz::require(first.save(saved), "what is held can be saved");
    if (isLoaded) {
        Fuzz::require(second.load(saved) && second.save(again), "what was saved can be loaded");
        Fuzz::require(saved == again, "a document is stable");
    }
    return 0;
}
