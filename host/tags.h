/// Tags: named variables of the PLC, read from a CSV file.
#pragma once

#include "host/device_types.h"
#include "host/settings.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

enum class Format { Bit, Int16, Uint16, Int32, Uint32, Float32 };
/// The order of a 32-bit value's bytes on the line, A the most significant; of a 16-bit value's, the order within the
/// word: ABCD and CDAB leave it, BADC and DCBA swap.
enum class ByteOrder { ABCD, BADC, CDAB, DCBA };

struct Tag {
    QString name;
    int type = 0;
    QString address; ///< As the engineer wrote it.
    int station = 0; ///< 0 = broadcast: write only.
    int count = 1;   ///< Values.
    Format format = Format::Bit;
    ByteOrder order = ByteOrder::ABCD;
    double scale = 1; ///< Shown value = raw value * scale.
    QString unit;
    bool isReadable = true;
    bool isWritable = false;

    int line = 0;     ///< In the file, from 1.
    int element = 0;  ///< What the address names; word * 16 + bit for bits in words.
    int elements = 0; ///< count in the driver's elements, as GetRegisterData and SetRegisterData take it.
};

/// A tag file: the tags, and what it takes to write the same file again.
struct TagFile {
    QList<Tag> tags;
    QByteArray toCsv() const; ///< An imported file comes back byte for byte; tags added since are appended.

    QList<QByteArray> sourceLines; ///< The file as it was, line ends included.
};

/// Reads tags from CSV text and checks each row against the device types and the settings (stations, block length). All
/// problems at once, "FILE:LINE: column: text: expected ..."; rows with a problem are left out of tags.
TagFile parseTags(const QByteArray &text, const QString &fileName, const PanelSettings &settings,
                  QStringList *problems);
TagFile readTags(const QString &fileName, const PanelSettings &settings, QStringList *problems);

QString formatName(Format format);
QString orderName(ByteOrder order);

/// One call of the driver: a run of the tag's elements that can be described, read and written whole.
///
/// A tag is cut where the driver's rules ask for it: bits at multiples of 8 with several stations, bits in words at the
/// end of each word, code 13 one value at a time with one PLC, code 14 at element 256.
struct TagPiece {
    QString address;
    int elements;
    int firstValue; ///< Index of the first host value in the tag's bytes.
    int byteOffset; ///< Of the piece in the tag's host bytes.
    int bytes;
};
/// For GetRegisterData, which lets values of code 13 overlap with one PLC, and for all other calls, which do not.
enum class PieceUse { Look, Request };
QVector<TagPiece> piecesOf(const Tag &tag, const PanelSettings &settings, PieceUse use = PieceUse::Look);
/// What ReCreatReadVarList is given for the tags that can be read.
QList<VARDESC> descriptionsOf(const QList<Tag> &tags, const PanelSettings &settings);
