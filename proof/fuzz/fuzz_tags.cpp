// A tag file, and all that is done with the tags that were accepted.
#include "host/tag_check.h"
#include "host/tag_codec.h"
#include "host/tags.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/text_input.h"

namespace {

const char Header[] = "name,type,address,station,count,format,order,scale,unit,rw\n";

PanelSettings settingsOf(int choice)
{
    PanelSettings settings;
    settings.hasSeveral = choice & 1;
    settings.isRemote = choice & 2;
    settings.maxBlockLen = choice & 4 ? 2 : 32;
    return settings;
}

TagFile parsed(const QByteArray &text, const PanelSettings &settings, QStringList *problems)
{
    return parseTags(text, QStringLiteral("tags.csv"), settings, problems);
}

void demandPieces(const Tag &tag, const PanelSettings &settings, PieceUse use)
{
    int elements = 0, bytes = 0;
    for (const TagPiece &piece : piecesOf(tag, settings, use)) {
        DEMAND(piece.elements > 0 && piece.byteOffset == bytes && !piece.address.isEmpty());
        DEMAND(piece.firstValue >= 0 && piece.firstValue < tag.count);
        elements += piece.elements;
        bytes += piece.bytes;
    }
    DEMAND(elements == tag.elements && bytes == hostBytes(tag));
}

/// What a person is shown can be typed again.
void demandSameAgain(const Tag &tag, const QByteArray &bytes)
{
    const QString text = valueText(tag, bytes);
    QByteArray again;
    QString error;
    const bool isWritten = encode(tag, text, &again, &error);
    DEMAND(isWritten || !error.isEmpty());
    DEMAND(!isWritten || again.size() == hostBytes(tag));
    const bool isExact = tag.count == 1 && tag.scale == 1 && tag.format != Format::Float32;
    DEMAND(!isExact || tag.format == Format::Bit || (isWritten && again == bytes));
    if (isWritten)
        roundingNote(tag, text, again);
}

void demandSound(const Tag &tag, const PanelSettings &settings, const QByteArray &source)
{
    const DeviceType *const type = findDeviceType(tag.type);
    DEMAND(type != nullptr && tag.count > 0 && tag.elements >= tag.count && tag.element >= 0);
    DEMAND(tag.isReadable || tag.isWritable);
    demandPieces(tag, settings, PieceUse::Look);
    demandPieces(tag, settings, PieceUse::Request);
    QByteArray bytes = source.left(hostBytes(tag));
    bytes.append(QByteArray(hostBytes(tag) - bytes.size(), '\1'));
    DEMAND(decode(tag, bytes).size() == tag.count);
    DEMAND(decode(tag, bytes.chopped(1)).isEmpty());
    valueJson(tag, bytes);
    demandSameAgain(tag, bytes);
    QByteArray typed;
    QString error;
    encode(tag, QString::fromUtf8(source.left(40)), &typed, &error);
}

bool isSame(const Tag &left, const Tag &right)
{
    return left.name == right.name && left.type == right.type && left.element == right.element
           && left.station == right.station && left.count == right.count && left.elements == right.elements
           && left.format == right.format && left.order == right.order && left.scale == right.scale
           && left.unit == right.unit && left.isReadable == right.isReadable && left.isWritable == right.isWritable;
}

/// Tags without their file come back from a file that is written anew.
void demandRoundTrip(const QList<Tag> &tags, const PanelSettings &settings)
{
    TagFile written;
    for (Tag tag : tags) {
        tag.line = 0;
        written.tags << tag;
    }
    QStringList problems;
    const TagFile read = parsed(written.toCsv(), settings, &problems);
    DEMAND(problems.isEmpty() && read.tags.size() == tags.size());
    for (int i = 0; i < tags.size(); ++i)
        DEMAND(isSame(tags.at(i), read.tags.at(i)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const TextInput input(data, size);
    const PanelSettings settings = settingsOf(input.choice);
    const QByteArray text = input.choice & 8 ? input.text : Header + input.text;
    QStringList problems;
    const TagFile file = parsed(text, settings, &problems);
    DEMAND(file.toCsv() == text || text.isEmpty());
    for (const Tag &tag : file.tags)
        demandSound(tag, settings, input.text);
    tagWarnings(file.tags, QStringLiteral("tags.csv"));
    descriptionsOf(file.tags, settings);
    if (!file.tags.isEmpty())
        demandRoundTrip(file.tags, settings);
    return 0;
}
