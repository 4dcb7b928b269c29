#include <QtTest>

#include "net/TelnetParser.h"
#include "support/TelnetWire.h"
#include "support/TestEnvironment.h"

namespace {

// Records every callback in order. Text is kept as received, so a parser that
// reused one string in place would corrupt the earlier entries.
struct Recorder {
    TelnetParser parser;
    QStringList events;

    Recorder()
    {
        const auto tagged = [this](const QString& tag) {
            return [this, tag](auto value) {
                events << tag + QVariant(value).toString();
            };
        };
        parser.onText = tagged("");
        parser.onMsdpVariable = tagged("msdp:");
        parser.onError = tagged("error:");
        parser.onWill = tagged("will:");
        parser.onDo = tagged("do:");
    }
};

QStringList parsed(const QByteArray& bytes)
{
    Recorder r;
    r.parser.parse(bytes);
    return r.events;
}

} // namespace

class tst_TelnetParser : public QObject {
    Q_OBJECT

private slots:
    void sampleStreamGivesSameCallbacksHoweverSplit();
    void buildsWireSequences();
    void capsSubnegotiationPayload();
};

void tst_TelnetParser::sampleStreamGivesSameCallbacksHoweverSplit()
{
    // Text with escaped 255, offers whose option byte shows as text, a swallowed
    // GA, MSDP with a nested table and payload quirks, a dropped TERMINAL-TYPE
    // SEND, a stray SE, then NUL and a high byte.
    const QByteArray stream = wire("hi<IAC><IAC><IAC><WILL><MSDP><IAC><DO>\x18<IAC><GA>x"
                                   "<IAC><SB><MSDP><VAR>HEALTH<VAL>100<VAR>ROOM<VAL><TO><VAR>VNUM<VAL>10"
                                   "<VAR>NAME<VAL>Inn<TC><IAC><SE><IAC><SB>\x18<VAR><IAC><SE><IAC><SE>"
                                   "<IAC><SB><MSDP><VAR>A<VAL>x<IAC><IAC>y<VAL>z<IAC>B<VAR>K<VAL>=<VAL>C"
                                   "<VAR>EMPTY<VAL><VAR><VAL>nameless<IAC><SE>") +
                              QByteArray("\0\xE9", 2);
    const QStringList expected =
        QString("h|i|ÿ|E|\x18|x|msdp:HEALTH=100|msdp:ROOM=\x03|msdp:VNUM=10|msdp:NAME=Inn\x04|"
                "msdp:A=xÿyzB|msdp:K==C")
            .split('|') +
        QStringList{QString(QChar(0)), "é"};
    QCOMPARE(parsed(stream), expected);

    Recorder byteByByte;
    for (const char byte : stream)
        byteByByte.parser.parse(QByteArray(1, byte));
    QCOMPARE(byteByByte.events, expected);
    for (int cut = 1; cut < stream.size(); ++cut) {
        Recorder twoChunks;
        twoChunks.parser.parse(stream.left(cut));
        twoChunks.parser.parse(stream.mid(cut));
        QCOMPARE(twoChunks.events, expected);
    }
}

void tst_TelnetParser::buildsWireSequences()
{
    QCOMPARE(TelnetParser::buildDontCommand(0x118), QByteArray("\xFF\xFE\x18"));
    QCOMPARE(TelnetParser::buildSubnegotiation(69, TelnetParser::buildMsdpVariable("LIST", "☺")),
             wire("<IAC><SB><MSDP><VAR>LIST<VAL>\xE2\x98\xBA<IAC><SE>"));
    QCOMPARE(TelnetParser::buildSubnegotiation(24, "\xFF"), QByteArray("\xFF\xFA\x18\xFF\xFF\xF0"));
}

void tst_TelnetParser::capsSubnegotiationPayload()
{
    const qsizetype cap = TelnetParser::kSubnegotiationCap;
    Recorder r;
    r.parser.parse(wire("<IAC><SB><MSDP><VAR>X<VAL>"));
    const QByteArray chunk(4096, 'a');
    for (qsizetype sent = 0; sent <= cap; sent += chunk.size())
        r.parser.parse(chunk);
    r.parser.parse(wire("<IAC><IAC><IAC>b"));
    QCOMPARE(r.parser.subnegotiationBuffer.size(), cap);
    r.parser.parse(wire("<IAC><SE>ok<IAC><SB><MSDP><VAR>Y<VAL>z<IAC><SE>"));
    QCOMPARE(r.events, QStringList({"msdp:X=" + QString(cap - 3, 'a'), "o", "k", "msdp:Y=z"}));
}

OLVEX_TEST_MAIN(tst_TelnetParser, QCoreApplication)
#include "tst_TelnetParser.moc"
