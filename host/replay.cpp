#include "host/replay.h"

#include "host/replay_calls.h"

namespace {

/// The line's own affair, and remarks: the driver had no part in it.
bool isPassedOver(const QByteArray &word)
{
    return word == "drop" || word == "port" || word == "unsent" || word == "note";
}

/// What the driver gave back, in place of what it was told.
bool isFromDriver(const QByteArray &word)
{
    return word == "result" || word == "done" || word == "fail" || word == "image";
}

/// Holds the order of the trace's lines.
class Replayer {
public:
    Replayer(const QVector<TraceLine> &lines, const Plugin &plugin, int mostDifferences)
        : lines(lines), findings(mostDifferences), calls(lines, plugin, findings)
    {
    }

    ReplayReport run()
    {
        for (int at = 0; at < lines.size(); ++at) {
            findings.setLine(lines.at(at));
            const QByteArray &word = lines.at(at).word;
            if (isPassedOver(word))
                continue;
            if (const char *const expected = expectedInPlaceOf(word)) {
                findings.complain(expected);
                break;
            }
            if (isFromDriver(word))
                compareNext(word);
            else if (word == "end")
                finish();
            else
                at = play(at);
        }
        return findings.report;
    }

private:
    /// Null when a line of this word may stand here.
    const char *expectedInPlaceOf(const QByteArray &word) const
    {
        if (!calls.hasStarted() && word != "settings")
            return "settings before anything else";
        if (findings.report.isComplete)
            return "nothing behind the end";
        if (hasImage && word != "image" && word != "end")
            return "only image and end behind an image";
        return nullptr;
    }

    int play(int at)
    {
        findings.expectNoMore();
        return calls.play(at);
    }

    void compareNext(const QByteArray &word)
    {
        if (word == "image")
            awaitImage();
        findings.compareWithAwaited();
    }

    void finish()
    {
        awaitImage();
        findings.expectNoMore();
        findings.report.isComplete = true;
    }

    void awaitImage()
    {
        if (hasImage)
            return;
        findings.expectNoMore();
        hasImage = true;
        for (const QVector<QByteArray> &line : calls.image())
            findings.await({"image", line});
    }

    const QVector<TraceLine> &lines;
    ReplayFindings findings;
    ReplayCalls calls;
    bool hasImage = false; ///< The driver's image is awaited, or was.
};

} // namespace

ReplayReport replay(const QVector<TraceLine> &lines, const Plugin &plugin, int mostDifferences)
{
    return Replayer(lines, plugin, mostDifferences).run();
}
