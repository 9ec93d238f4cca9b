// Runs a fuzz harness over every file of its seed corpus, for compilers
// without libFuzzer: the corpus keeps the harness and the readers honest in
// every build, and a crash found by a fuzzing run is added here as a file.
#include <QDir>
#include <QFile>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir directory(QString::fromLocal8Bit(argv[i]));
        for (const QString& name : directory.entryList(QDir::Files, QDir::Name)) {
            QFile file(directory.filePath(name));
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
                return 1;
            }
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                   static_cast<size_t>(bytes.size()));
            ++replayed;
        }
    }
    std::printf("replayed %d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
