#include "fuzz/Fuzzing.h"

#include <QDirIterator>
#include <QFile>

/// Runs a fuzzer once for each file in the folders that are given, as libFuzzer does with
/// "-runs=0". Compilers without libFuzzer can thus check that known inputs are still harmless.
int main(int argumentCount, char **arguments) {
    int count = 0;
    for (int i = 1; i < argumentCount; ++i) {
        QDirIterator files(QFile::decodeName(arguments[i]), QDir::Files);
        while (files.hasNext()) {
            QFile file(files.next());
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "%s cannot be read.\n", qPrintable(file.fileName()));
                return 1;
            }
            const QByteArray input = file.readAll();
            std::printf("%s\n", qPrintable(file.fileName()));
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.constData()),
                                   static_cast<std::size_t>(input.size()));
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1; // an empty corpus checks nothing
}
