// The main of the benchmarks that draw with Qt: an application on Qt's offscreen platform (unless
// QT_QPA_PLATFORM names another), then Google Benchmark.

#include <QApplication>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
