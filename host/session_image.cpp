// What is in the driver behind its entry points: its image, and how to clear it all
#include "host/session.h"

#include <QtCore/QMutexLocker>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

enum {
    RunGap = 8,    ///< As many zero elements end a run of the image.
    RunLength = 64 ///< Elements in a run at most.
};

template <class Element>
QByteArray elementBytes(const Element *elements, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i) {
        for (unsigned byte = 0; byte < sizeof(Element); ++byte)
            bytes.append(char(elements[i] >> 8 * byte & 0xFF));
    }
    return bytes;
}

/// step: what an element counts in addresses.
template <class Element>
void appendRuns(QVector<QVector<QByteArray>> &lines, int code, const Element *area, int step)
{
    for (int first = 0; first < AreaElements; ++first) {
        if (area[first] == 0)
            continue;
        int behind = first + 1; // the last element that is not zero
        for (int i = behind; i < AreaElements && i < first + RunLength && i < behind + RunGap; ++i) {
            if (area[i] != 0)
                behind = i + 1;
        }
        lines.append({trace::ofNumber(code), trace::ofNumber(qint64(first) * step),
                      trace::ofBytes(elementBytes(area + first, behind - first))});
        first = behind - 1;
    }
}

QVector<QVector<QByteArray>> areaLines(const Emerson_EC_Series &driver)
{
    QVector<QVector<QByteArray>> lines;
    const unsigned char *const bits[] = {driver.bitImage0, driver.bitImage1, driver.bitImage2, driver.bitImage3,
                                         driver.bitImage4, driver.bitImage5, driver.bitImage6};
    for (int code = 0; code < 7; ++code)
        appendRuns(lines, code, bits[code], 8);
    const std::pair<int, const unsigned short *> words[] = {{7, driver.wordImage7},   {8, driver.wordImage8},
                                                            {9, driver.wordImage9},   {10, driver.wordImage10},
                                                            {11, driver.wordImage11}, {100, driver.wordImage100}};
    for (const auto &area : words)
        appendRuns(lines, area.first, area.second, 1);
    appendRuns(lines, 13, driver.dwordImage13, 1);
    return lines;
}

bool isBefore(const EXTENDVAR &left, const EXTENDVAR &right)
{
    if (left.station != right.station)
        return left.station < right.station;
    return left.devType != right.devType ? left.devType < right.devType : left.address < right.address;
}

QVector<QVector<QByteArray>> keyedLines(const Emerson_EC_Series &driver)
{
    // Without the zeros: a mere look at a value that was never read makes a record of them.
    QVector<EXTENDVAR> values;
    for (const EXTENDVAR &value : driver.extendVarList) {
        if (value.data.count('\0') != value.data.size())
            values.append(value);
    }
    std::stable_sort(values.begin(), values.end(), isBefore);
    QVector<QVector<QByteArray>> lines;
    for (const EXTENDVAR &value : qAsConst(values))
        lines.append({trace::ofNumber(value.station), trace::ofNumber(value.devType), trace::ofNumber(value.address),
                      trace::ofBytes(value.data)});
    return lines;
}

template <class Element>
void clearArea(Element (&area)[AreaElements])
{
    std::memset(area, 0, sizeof area);
}

void clearImage(Emerson_EC_Series &driver)
{
    for (auto area : {&driver.bitImage0, &driver.bitImage1, &driver.bitImage2, &driver.bitImage3, &driver.bitImage4,
                      &driver.bitImage5, &driver.bitImage6})
        clearArea(*area);
    for (auto area : {&driver.wordImage7, &driver.wordImage8, &driver.wordImage9, &driver.wordImage10,
                      &driver.wordImage11, &driver.wordImage100})
        clearArea(*area);
    clearArea(driver.dwordImage13);
    driver.extendVarList.clear();
}

} // namespace

void resetDriver(const Plugin &plugin)
{
    plugin.registCallBackFuncIntf(nullptr, nullptr);
    plugin.setComInfo(nullptr);
    Emerson_EC_Series &driver = *plugin.driver;
    {
        QMutexLocker lock(&driver.listMutex);
        driver.readList.clear();
        driver.writeList.clear();
        driver.onceReadList.clear();
        driver.protocolList.clear();
        driver.result = RW_VAR();
        driver.servedList = ServedNone;
        driver.writeStreak = 0;
        driver.onceStreak = 0;
        driver.passCount = 0;
        driver.failFlag = false;
    }
    {
        QMutexLocker lock(&driver.stationMutex);
        driver.disabledStations.clear();
    }
    QMutexLocker lock(&driver.imageMutex);
    clearImage(driver);
}

QVector<QVector<QByteArray>> Session::image() const
{
    return comInfo.stationScope != 0 ? keyedLines(*plugin.driver) : areaLines(*plugin.driver);
}
