#pragma once

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplot.h>

#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QFont>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

// Reads typed values off the fuzzer's bytes; once they run out every read gives zero.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    bool atEnd() const { return m_pos >= m_size; }
    uint8_t byte() { return atEnd() ? 0 : m_data[m_pos++]; }
    int bounded(int bound) { return bound <= 0 ? 0 : int(byte() % bound); }

    // Half of the values come from a table of the doubles that break numeric code, so that the
    // fuzzer reaches them without having to guess eight exact bytes.
    double real()
    {
        static const double special[] = {std::numeric_limits<double>::quiet_NaN(),
                                         std::numeric_limits<double>::infinity(),
                                         -std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::denorm_min(),
                                         -std::numeric_limits<double>::denorm_min(),
                                         std::numeric_limits<double>::min(),
                                         std::numeric_limits<double>::max(),
                                         -std::numeric_limits<double>::max(),
                                         std::numeric_limits<double>::epsilon(),
                                         0.0,
                                         -0.0,
                                         0.5,
                                         -0.5,
                                         1.5,
                                         2.5,
                                         -2.5,
                                         0.1,
                                         0.01,
                                         1e-12,
                                         1e-10,
                                         74.35,
                                         100.0,
                                         1e15,
                                         9.999999999999999e15,
                                         1e16,
                                         -1e16,
                                         1e17,
                                         1e18,
                                         9.2233720368547758e18,
                                         1e19,
                                         1e300,
                                         -1e300,
                                         4294967296.0,
                                         2147483647.5,
                                         -2147483648.5};
        const uint8_t selector = byte();
        if (selector & 1)
            return special[(selector >> 1) % (sizeof(special) / sizeof(special[0]))];
        uint8_t raw[sizeof(double)] = {};
        for (uint8_t& b : raw)
            b = byte();
        double value = 0.0;
        std::memcpy(&value, raw, sizeof value);
        return value;
    }

    QByteArray rest()
    {
        const QByteArray bytes(reinterpret_cast<const char*>(m_data + m_pos), int(m_size - m_pos));
        m_pos = m_size;
        return bytes;
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

namespace FuzzSupport {

// One offscreen application for the whole run: fonts and pixmaps need it. Same fixed font as the
// test suites, so label geometry is the one the tests see.
inline void initApplication(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication* app = new QApplication(*argc, *argv);
    app->setAttribute(Qt::AA_Use96Dpi, true);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSize(9);
    QApplication::setFont(font);
}

inline bool loadSampleData()
{
    DataStore* store = ICore::instance()->dataStore();
    const QDir dir(QStringLiteral(PLOT2D_SAMPLE_DATA_DIR));
    return store->loadCsv(QStringLiteral("boards"), dir.filePath(QStringLiteral("boards.csv"))) &&
           store->loadCsv(QStringLiteral("securities"), dir.filePath(QStringLiteral("securities.csv")));
}

// Aborts the run (so the fuzzer keeps the input) when an invariant of the code under test breaks.
inline void require(bool condition, const char* what)
{
    if (!condition) {
        fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

} // namespace FuzzSupport

// A concrete plot; the fuzzers drive its parts, not a client's curve computation.
class FuzzPlot : public PriceBased2dPlot
{
public:
    explicit FuzzPlot(bool setUp = true) : PriceBased2dPlot(setUp) {}
    void updateCurves() override {}
};
