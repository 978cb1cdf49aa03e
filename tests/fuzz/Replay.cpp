// SPDX-License-Identifier: MIT
// The main function of a fuzzing program without libFuzzer: handles each input that it is given, without and
// with log records. Arguments are files and folders; options, which libFuzzer would take, are ignored.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

QStringList FilesOf(const QString& path)
{
    if (!QFileInfo(path).isDir()) {
        return {path};
    }
    QStringList files;
    const QDir folder(path);
    const QStringList names = folder.entryList(QDir::Files, QDir::Name);
    for (const QString& name : names) {
        files.append(folder.filePath(name));
    }
    return files;
}

void Handle(const QByteArray& input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.constData()),
                           static_cast<std::size_t>(input.size()));
}

bool Replay(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s: a file or folder with inputs was expected\n",
                     qUtf8Printable(path));
        return false;
    }
    std::printf("%s\n", qUtf8Printable(path));
    std::fflush(stdout); // so that the last line names the input that ends the program
    const QByteArray input = file.readAll();
    Handle(input);
    QLoggingCategory::setFilterRules(QStringLiteral("*=true"));
    Handle(input);
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QString argument = QString::fromLocal8Bit(argv[i]);
        const QStringList files = argument.startsWith('-') ? QStringList() : FilesOf(argument);
        for (const QString& file : files) {
            if (!Replay(file)) {
                return 2;
            }
            ++count;
        }
    }
    std::printf("%d inputs replayed\n", count);
    if (count == 0) {
        std::fprintf(stderr, "no inputs: files or folders were expected\n");
    }
    return count == 0 ? 2 : 0;
}
