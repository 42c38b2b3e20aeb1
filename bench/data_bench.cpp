// Loading a "securities" CSV of an exchange's size (200,000 rows, about 22 MB) into the data layer:
// wall time per load and the peak resident memory the load adds to the process.

#include <plot2d/platform.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <fstream>
#include <memory>
#include <string>

namespace {

const int RowCount = 200000;
const int OptionsPerFuture = 999;

const char* const Header =
    "sec_id:2,isin_id:1,stock_id:1,board_id:1,sec_code:5:25,sectype:5:1,base_code:5:20,expdate:6,"
    "price_step:4:5,strike:4:5,option_type:5:1,sess_id:1,fut_isin_id:1,base_isin_id:1,bid:4:5,ask:4:5,"
    "cur_kotir_real:4:5,cur_kotir:4:5,old_kotir:4:5,volat_min:4:4,volat_max:4:4,lasttime:6\n";

// Row `index` of the file: a futures contract followed by its options, like the shipped sample.
QByteArray securityRow(int index)
{
    const int id = 100000 + index;
    const int future = 100000 + index - index % (OptionsPerFuture + 1);
    const int month = 1 + (future / (OptionsPerFuture + 1)) % 12;
    const QByteArray expiry =
        QByteArray("2027-") + (month < 10 ? "0" : "") + QByteArray::number(month) + "-25";
    if (id == future) {
        return QByteArray::number(id) + ',' + QByteArray::number(id) + ",1,1,BR-" +
               QByteArray::number(month) + ".27,F,BR," + expiry +
               ",0.01,,,7001,,,74.34,74.36,,74.35,74.10,0.25,0.45,2026-11-20 18:45:00\n";
    }
    const int strike = 20 + (index % (OptionsPerFuture + 1)) / 2;
    const char type = index % 2 ? 'C' : 'P';
    return QByteArray::number(id) + ',' + QByteArray::number(id) + ",1,1,BR" + QByteArray::number(strike) +
           type + "M25" + QByteArray::number(month) + "27,O,BR," + expiry + ",0.01," +
           QByteArray::number(strike) + ',' + type + ",7001," + QByteArray::number(future) + ',' +
           QByteArray::number(future) + ",19.23,19.62,,19.43,,,,2026-11-20 18:45:00\n";
}

// Writes the file with its rows in key order, or scrambled by a fixed permutation (an exchange's
// dump is not sorted by our key).
QString writeSecurities(const QTemporaryDir& dir, bool scrambled)
{
    const QString path =
        dir.filePath(scrambled ? QStringLiteral("scrambled.csv") : QStringLiteral("sorted.csv"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return QString();
    file.write(Header);
    for (int i = 0; i < RowCount; ++i) {
        // 7919 is prime and coprime to RowCount, so this visits every row once.
        const int index = scrambled ? static_cast<int>((static_cast<qint64>(i) * 7919) % RowCount) : i;
        file.write(securityRow(index));
    }
    return path;
}

// The kernel keeps the resident high-water mark; writing 5 to clear_refs resets it (Linux 4.0+).
bool resetPeakResident()
{
    std::ofstream clear("/proc/self/clear_refs");
    return static_cast<bool>(clear << "5");
}

double peakResidentMegabytes()
{
    std::ifstream status("/proc/self/status");
    std::string key;
    while (status >> key) {
        double kilobytes = 0;
        if (key == "VmHWM:" && status >> kilobytes)
            return kilobytes / 1024.0;
        status.ignore(1 << 16, '\n');
    }
    return 0;
}

void BM_LoadSecurities(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = writeSecurities(dir, state.range(0) != 0);
    if (path.isEmpty()) {
        state.SkipWithError("cannot write the CSV file");
        return;
    }
    double peak = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (!resetPeakResident()) {
            state.SkipWithError("cannot reset the peak resident size (/proc/self/clear_refs)");
            break;
        }
        DataStore store;
        state.ResumeTiming();
        QString error;
        const Table* table = store.loadCsv(QStringLiteral("securities"), path, &error);
        state.PauseTiming();
        peak = std::max(peak, peakResidentMegabytes());
        if (!table || table->rowCount() != RowCount) {
            const std::string message = error.isEmpty() ? "wrong row count" : error.toStdString();
            state.SkipWithError(message.c_str());
            break;
        }
        store.clear();
        state.ResumeTiming();
    }
    state.counters["file_MB"] = QFile(path).size() / 1048576.0;
    state.counters["peak_RSS_MB"] = peak;
}

} // namespace

BENCHMARK(BM_LoadSecurities)->ArgName("scrambled")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
