#include "sim/areas.h"

namespace {

/// Numbers first .. last without a hole. Between two runs lies a gap.
struct Run {
    int first, last;
};

const Run CoilRuns[] = {{0, 4047}, {4400, 4655}, {6000, 7023}, {8000, 8255}, {9200, 9455}, {10000, 65535}};
const Run RegisterRuns[] = {{0, 8255}, {8500, 9255}, {9500, 9811}, {10000, 65535}};

/// Elements of a code from one of them on, up to the code's next piece.
struct Piece {
    int code, element, number, cellsPerElement;
};

const Piece Pieces[] = {
    {0, 0, 1200, 1},  {1, 0, 0, 1},                            // bits, in one piece
    {2, 0, 2000, 1},  {2, 2048, 12000, 1},                     //
    {3, 0, 4400, 1},  {3, 256, 30000, 1},                      //
    {4, 0, 6000, 1},  {4, 1024, 31000, 1},                     //
    {5, 0, 8000, 1},  {5, 256, 11000, 1},                      //
    {6, 0, 9200, 1},  {6, 256, 10000, 1},                      //
    {7, 0, 0, 1},                                              // words
    {8, 0, 8000, 1},  {8, 256, 12000, 1},                      //
    {9, 0, 9000, 1},  {9, 256, 11000, 1},                      //
    {10, 0, 9500, 1}, {11, 0, 8500, 1},    {100, 0, 13000, 1}, //
    {13, 0, 9700, 2}, {13, 56, 10000, 2},                      // 32 bits, two registers each
};

/// A view of another code's words: pairs of them, or their bits.
struct View {
    int code, of, elementsPerWord;
};

const View Views[] = {{12, 7, 1}, {14, 8, 1}, {101, 100, 1}, {15, 7, 16}, {16, 8, 16}, {17, 11, 16}, {102, 100, 16}};

template <int Count>
bool lieInOne(const Run (&runs)[Count], int first, int count)
{
    const qint64 last = qint64(first) + count - 1;
    for (const Run &run : runs)
        if (count >= 1 && first >= run.first && last <= run.last)
            return true;
    return false;
}

} // namespace

bool coilsExist(int first, int count)
{
    return lieInOne(CoilRuns, first, count);
}

bool registersExist(int first, int count)
{
    return lieInOne(RegisterRuns, first, count);
}

int modbusNumber(int deviceType, int element)
{
    if (element < 0)
        return -1;
    for (const View &view : Views)
        if (view.code == deviceType)
            return modbusNumber(view.of, element / view.elementsPerWord);
    qint64 number = -1;
    for (const Piece &piece : Pieces)
        if (piece.code == deviceType && element >= piece.element)
            number = piece.number + (qint64(element) - piece.element) * piece.cellsPerElement;
    return number > 65535 ? -1 : int(number);
}
