#include "cli/pictures.h"
#include "cli/parameters.h"

#include "cli/console.h"

#include <kvmeasure/base/error.h>
#include <kvmeasure/base/output_file.h>
#include <kvmeasure/drawing/rendering.h>

namespace KvMeasure {

namespace {

int missing = 0;  // pictures of this run

void writePictureAs(PictureFormat format, const QString& path, const Draw& draw) {
    try {
        writeOutputFile(path, rendered(draw(), format));
    } catch (const Error& error) {
        const QString place = path + ": ";
        ++missing;
        if (missing == 1)
            complain(error.text(optionOf).startsWith(place)
                         ? error.text(optionOf)
                         : place + "the picture is missing: " + error.text(optionOf));
    }
}

}  // namespace

void writePicture(const QString& path, const Draw& draw) {
    writePictureAs(pictureFormatOf(path), path, draw);
}

bool sayMissingPictures() {
    if (missing > 1)
        complain(QString("%1 more pictures are missing").arg(missing - 1));
    return missing > 0;
}

PictureSeries::PictureSeries(const QString& path, const QStringList& taken) : path_(path) {
    for (const QString& other : taken) {
        if (!other.isEmpty())
            taken_.insert(placeOf(other));
    }
}

void PictureSeries::write(const QString& part, const Draw& draw) {
    QString path = partPath(path_, part);
    for (int i = 2; given_.contains(path); ++i)
        path = partPath(path_, part + QString("-%1").arg(i));
    given_.insert(path);
    writePictureAs(pictureFormatOf(path_), path, [&] {  // a profile's name may have a dot
        if (taken_.contains(placeOf(path)))
            throw Error("this command reads or writes a file of this name; name another one");
        return draw();
    });
}

}  // namespace KvMeasure
