// Lists of measurements in both forms, from any bytes and from JSON.

#include "fuzz/fuzz_input.h"
#include "fuzz/template_use.h"

#include <QtCore/QDataStream>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Fuzz::Input input(data, size);
    const QByteArray bytes = input.rest();
    QDataStream stream(bytes);
    KvMath::TSMeasurementList streamed, mapped;
    const bool isStreamed = streamed.load(stream);
    const bool isMapped = mapped.load(Fuzz::jsonValue(bytes));
    for (KvMath::TSMeasurementList* list : {&streamed, &mapped}) {
        QVariant map;
        Fuzz::require(list->save(map), "what is held can be saved");
        KvMath::TSMeasurementList again;
        Fuzz::require(!(isStreamed || isMapped) || again.load(map), "what was saved can be loaded");
        for (const QPair<QString*, bool*>& info : list->getUniformResultsInfo()) {
            *info.first += '.';
            *info.second = !*info.second;
        }
        const KvMath::TSTemplate noConstraints(input.below(5));
        Fuzz::useTemplate(noConstraints, *list, input);
    }
    return 0;
}
