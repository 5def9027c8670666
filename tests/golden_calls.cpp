#include "tests/golden_calls.h"

namespace {

const char VariableFields[] = "code address count station";
const char RecordFields[] = "rwFlag connectNo panelStation station devType address count subIndex hostWord13 data";

} // namespace

bool ExampleCalls::isCall(const QString &word)
{
    static const QStringList calls = QStringLiteral("read read-once write record").split(QLatin1Char(' '));
    return calls.contains(word);
}

QString ExampleCalls::make(const QString &word, const QString &rest)
{
    isMade = true;
    if (word == QLatin1String("record")) {
        const PageFields given(rest, RecordFields, "devType address count");
        record(given);
        return given.problem;
    }
    const bool isWrite = word == QLatin1String("write");
    const PageFields given(rest, isWrite ? "code address count station value" : VariableFields,
                           isWrite ? "code address count value" : "code address count");
    if (first.address.isEmpty())
        first = {given.number("code"), given.number("count"), given.number("station", 1), given.text("address")};
    if (isWrite)
        write(given);
    else if (word == QLatin1String("read"))
        read(given);
    else
        readOnce(given);
    return given.problem;
}

QString ExampleCalls::settings(const QString &rest)
{
    const PageFields given(rest, "maxBlockLen plcStation retryLimit stationScope remoteMode");
    COMINFO &to = driver.settings;
    to.maxBlockLen = given.number("maxBlockLen", to.maxBlockLen);
    to.plcStation = given.number("plcStation", to.plcStation);
    to.retryLimit = given.number("retryLimit", to.retryLimit);
    to.stationScope = given.number("stationScope", to.stationScope);
    to.remoteMode = given.number("remoteMode", to.remoteMode);
    return given.problem;
}

void ExampleCalls::registerReads()
{
    if (!descriptions.isEmpty())
        ReCreatReadVarList(descriptions);
}

QString ExampleCalls::valueOfFirst(QString &problem) const
{
    QByteArray values;
    if (first.address.isEmpty())
        problem = QStringLiteral("malformed: a record is no variable");
    else
        GetRegisterData(0, first.code, first.address, first.station, &values, first.count);
    return toHex(values);
}

void ExampleCalls::read(const PageFields &given)
{
    descriptions << description(given.number("code"), given.text("address").toLatin1().constData(),
                                given.number("count"), given.number("station", 1));
    isCyclic = true;
}

void ExampleCalls::readOnce(const PageFields &given)
{
    RW_VAR var = readVar(given.number("code"), 0, given.number("count"), given.number("station", 1));
    var.addrText = given.text("address");
    var.address = PLCAddressChangeIntef(var.devType, var.addrText);
    AddListOnceReadVar(&var, 0);
}

void ExampleCalls::write(const PageFields &given)
{
    QByteArray value = given.bytes("value");
    SetRegisterData(QString(), given.number("code"), given.text("address"), given.number("station", 1), &value,
                    given.number("count"), 0, 0);
}

void ExampleCalls::record(const PageFields &given)
{
    RW_VAR var =
        readVar(given.number("devType"), given.number("address"), given.number("count"), given.number("station", 1));
    var.rwFlag = given.number("rwFlag");
    var.connectNo = given.number("connectNo");
    var.panelStation = given.number("panelStation", 1);
    var.subIndex = given.number("subIndex");
    var.hostWord13 = given.number("hostWord13");
    var.data = given.bytes("data");
    isCyclic |= var.rwFlag == 0;
    if (var.rwFlag == 0)
        AddListReadVar(&var);
    else
        AddListWriteVar(&var, 1);
}
