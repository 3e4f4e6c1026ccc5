#pragma once
// Standard input as a file.

#include <QtCore/QString>

namespace KvMeasure::Internal {

/// Name of a file without a place in any folder, with all of standard input, at most 1 GB, which is read at
/// the first call: files are looked at before they are read. The file goes when the program ends. Throws
/// Error.
QString standardInputFile();

}  // namespace KvMeasure::Internal
