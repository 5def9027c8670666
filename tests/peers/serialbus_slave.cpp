/// One station by the serial slave of Qt SerialBus, a peer that shares nothing with this project's own slave.
///
/// Usage: serialbus_slave PORT STATION FILE. The file has a line a run of cells: "coils" or "registers", the first
/// number, the values. Says "ready", and ends when standard input closes.
///
/// Its map holds one range of each kind, so that the gaps of the PLC exist here and hold 0. A slave has one station;
/// several stations are several processes.
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QSocketNotifier>
#include <QtCore/QVariant>
#include <QtSerialBus/QModbusDataUnit>
#include <QtSerialBus/QModbusRtuSerialSlave>
#include <QtSerialPort/QSerialPort>

#include <cstdio>
#include <unistd.h>

namespace {

enum { Cells = 65536 };

int fail(const QString &text)
{
    std::fprintf(stderr, "serialbus_slave: %s\n", qPrintable(text));
    return 1;
}

/// False when the file cannot be read or a line is none.
bool readMemory(const QString &fileName, QVector<quint16> *coils, QVector<quint16> *registers)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    while (!file.atEnd()) {
        const QList<QByteArray> words = file.readLine().simplified().split(' ');
        QVector<quint16> *const cells = words.first() == "coils" ? coils : registers;
        if (words.size() < 3 || (cells == registers && words.first() != "registers"))
            return false;
        const int first = words.at(1).toInt();
        if (first < 0 || first + words.size() - 2 > Cells)
            return false;
        for (int i = 2; i < words.size(); ++i)
            (*cells)[first + i - 2] = words.at(i).toUShort();
    }
    return true;
}

/// With a vector of its values: the constructor that takes a count takes 65535 at most.
bool setMemory(QModbusServer &slave, const QVector<quint16> &coils, const QVector<quint16> &registers)
{
    const QModbusDataUnit coilUnit(QModbusDataUnit::Coils, 0, coils);
    const QModbusDataUnit registerUnit(QModbusDataUnit::HoldingRegisters, 0, registers);
    return slave.setMap({{QModbusDataUnit::Coils, coilUnit}, {QModbusDataUnit::HoldingRegisters, registerUnit}})
           && slave.setData(coilUnit) && slave.setData(registerUnit);
}

void setLine(QModbusDevice &slave, const QString &port)
{
    slave.setConnectionParameter(QModbusDevice::SerialPortNameParameter, port);
    slave.setConnectionParameter(QModbusDevice::SerialBaudRateParameter, QSerialPort::Baud19200);
    slave.setConnectionParameter(QModbusDevice::SerialDataBitsParameter, QSerialPort::Data8);
    slave.setConnectionParameter(QModbusDevice::SerialParityParameter, QSerialPort::NoParity);
    slave.setConnectionParameter(QModbusDevice::SerialStopBitsParameter, QSerialPort::OneStop);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 4)
        return fail(QStringLiteral("expected PORT STATION FILE"));
    QVector<quint16> coils(Cells), registers(Cells);
    if (!readMemory(arguments.at(3), &coils, &registers))
        return fail(QStringLiteral("cannot use %1").arg(arguments.at(3)));

    QModbusRtuSerialSlave slave;
    setLine(slave, arguments.at(1));
    slave.setServerAddress(arguments.at(2).toInt());
    if (!setMemory(slave, coils, registers))
        return fail(QStringLiteral("the memory is refused: %1").arg(slave.errorString()));
    if (!slave.connectDevice())
        return fail(QStringLiteral("cannot open %1: %2").arg(arguments.at(1), slave.errorString()));

    QSocketNotifier ended(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&ended, &QSocketNotifier::activated, [] {
        char byte;
        if (::read(STDIN_FILENO, &byte, 1) <= 0)
            QCoreApplication::quit();
    });
    std::puts("ready");
    std::fflush(stdout);
    return application.exec();
}
