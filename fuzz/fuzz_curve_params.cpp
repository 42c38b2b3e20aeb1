// CurveParams records are read from saved state of any version and byte order: a short or
// damaged stream must give cleared params, never garbage or a crash.
#include "fuzzsupport.h"

#include <plot2d/pricebased2dplotcurve.h>

#include <QDataStream>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const uint8_t mode = input.byte();
    const QByteArray bytes = input.rest();
    QDataStream in(bytes);
    in.setByteOrder(mode & 1 ? QDataStream::LittleEndian : QDataStream::BigEndian);
    in.setVersion(QDataStream::Qt_1_0 + (mode >> 1) % QDataStream::Qt_DefaultCompiledVersion);

    while (true) {
        PriceBased2dPlotCurve::CurveParams params;
        params.valid = true;
        params.visible = true;
        params.dataType = 42;
        PriceBased2dPlotCurve::read(in, params);
        if (in.status() != QDataStream::Ok) {
            FuzzSupport::require(!params.valid && !params.visible && params.dataType == 0,
                                 "a failed read clears the params");
            break;
        }
        // A record that read cleanly writes back to the same six bytes.
        QByteArray echo;
        QDataStream out(&echo, QIODevice::WriteOnly);
        out.setByteOrder(in.byteOrder());
        out.setVersion(in.version());
        out << params.valid << params.visible << params.dataType;
        FuzzSupport::require(echo.size() == 6, "a record is six bytes");
    }
    return 0;
}
