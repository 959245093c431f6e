// Costs that grow with the size of a program or a folder: reading and saving
// a large program, typing into it with a dirty check after every keystroke,
// and listing a crowded folder of the sidebar.
#include "programgenerator.h"
#include "workspace/editordocument.h"
#include "workspace/filenode.h"
#include "base/textfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

const QString &largeProgram()
{
    static const QString text = ProgramGenerator::milling(100 << 20, 5, true);
    return text;
}

void BM_ReadLargeProgram(benchmark::State &state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("large.nc");
    const QByteArray bytes = largeProgram().toUtf8();
    {
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
    }
    for (auto _ : state) {
        const TextFile::ReadResult result = TextFile::read(path);
        benchmark::DoNotOptimize(result.text.size());
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(BM_ReadLargeProgram)->Unit(benchmark::kMillisecond);

void BM_SaveLargeProgram(benchmark::State &state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("large.nc");
    for (auto _ : state) {
        benchmark::DoNotOptimize(TextFile::writeAtomically(path, largeProgram()));
    }
    state.SetBytesProcessed(state.iterations() * largeProgram().size());
}
BENCHMARK(BM_SaveLargeProgram)->Unit(benchmark::kMillisecond);

// One keystroke in the middle of a 100 MB program followed by the dirty check
// the tab title needs; every other keystroke brings the length back to the
// saved length, the case a length comparison alone cannot decide.
void BM_KeystrokeAndDirtyCheck(benchmark::State &state)
{
    EditorDocument document;
    document.finishLoading(largeProgram());
    document.replace(0, 0, " "); // pay the one copy away from the shared saved text
    const qsizetype middle = largeProgram().size() / 2;
    bool insert = true;
    for (auto _ : state) {
        if (insert) {
            document.replace(middle, 0, QStringLiteral("X"));
        } else {
            document.replace(middle, 1, QString());
        }
        insert = !insert;
        benchmark::DoNotOptimize(document.isDirty());
    }
}
BENCHMARK(BM_KeystrokeAndDirtyCheck)->Unit(benchmark::kMicrosecond);

void BM_DirtyCheckAfterWholeTextReplacement(benchmark::State &state)
{
    EditorDocument document;
    document.finishLoading(largeProgram());
    QString edited = largeProgram();
    edited[edited.size() - 2] = QLatin1Char('#'); // same length, differs at the very end
    bool toEdited = true;
    for (auto _ : state) {
        document.setText(toEdited ? edited : largeProgram());
        toEdited = !toEdited;
        benchmark::DoNotOptimize(document.isDirty());
    }
}
BENCHMARK(BM_DirtyCheckAfterWholeTextReplacement)->Unit(benchmark::kMillisecond);

void BM_ListCrowdedFolder(benchmark::State &state)
{
    QTemporaryDir dir;
    for (int i = 0; i < state.range(0); ++i) {
        QFile file(dir.filePath(QStringLiteral("O%1.nc").arg((i * 7919) % 100000)));
        file.open(QIODevice::WriteOnly);
    }
    const QUrl folder = QUrl::fromLocalFile(dir.path());
    for (auto _ : state) {
        benchmark::DoNotOptimize(FileNode::contents(folder).size());
    }
}
BENCHMARK(BM_ListCrowdedFolder)->Arg(5000)->Unit(benchmark::kMillisecond);

} // namespace

namespace {
void BM_DecodeLargeProgram(benchmark::State &state)
{
    const QByteArray bytes = largeProgram().toUtf8();
    for (auto _ : state) {
        benchmark::DoNotOptimize(TextFile::decode(bytes).text.size());
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(BM_DecodeLargeProgram)->Unit(benchmark::kMillisecond);
} // namespace
