#include "terminal/AnsiParser.h"

#include <QBrush>
#include <QFont>

#include <array>
#include <limits>

namespace {

constexpr char16_t kEscape = 0x1b;

// SGR 30..37 and 40..47 use pure colours; the softer table below is only for
// 256-colour indices 0..15 and for showing bold text bright.
// Code 7 (white) is not in the table: every code outside it reads as white.
constexpr std::array<QRgb, 7> kPureColors = {
    qRgb(0, 0, 0),   qRgb(255, 0, 0),   qRgb(0, 255, 0),   qRgb(255, 255, 0),
    qRgb(0, 0, 255), qRgb(255, 0, 255), qRgb(0, 255, 255),
};

// Colours of SGR 90..96 and, for backgrounds, 100..106.
constexpr std::array<QRgb, 7> kLightColors = {
    qRgb(128, 128, 128), qRgb(255, 128, 128), qRgb(128, 255, 128), qRgb(255, 255, 128),
    qRgb(128, 128, 255), qRgb(255, 128, 255), qRgb(128, 255, 255),
};

bool isSgrParameter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= '0' && u <= '9') || u == ';';
}

// Final bytes that end a stripped control sequence: '@' through 'z'.
bool isFinalByte(QChar c)
{
    const char16_t u = c.unicode();
    return u >= 0x40 && u <= 0x7a;
}

// Position just past the run of digits and semicolons starting at from.
// Bound on cached formats; a truecolour gradient would otherwise grow it forever.
constexpr qsizetype kMaxCachedFormats = 1024;

// 25 bits: the RGB value and a bit for "valid", so an invalid colour has a key.
quint64 colorKey(const QColor& color)
{
    return color.isValid() ? (color.rgb() & 0xffffffu) | 0x1000000u : 0u;
}

qsizetype skipSgrParameters(QStringView text, qsizetype from)
{
    while (from < text.size() && isSgrParameter(text[from]))
        ++from;
    return from;
}

bool startsControlSequence(QStringView text, qsizetype at)
{
    return text[at] == QChar(kEscape) && at + 1 < text.size() && text[at + 1] == u'[';
}

// Removes every control sequence that is not SGR: ESC '[' whose parameters are
// not just digits and semicolons followed by 'm', up to the first final byte,
// provided no other ESC comes first. A lone ESC and an unfinished sequence at
// the end stay in the text. Hand-written rather than a regular expression so the
// cost stays linear: every failed attempt ends at the next ESC, where the next
// attempt starts.
QString stripNonSgrSequences(const QString& text)
{
    const QStringView view(text);
    const qsizetype size = view.size();
    QString stripped;
    qsizetype copiedUpTo = 0;
    qsizetype pos = text.indexOf(QChar(kEscape));
    while (pos >= 0 && pos < size) {
        if (!startsControlSequence(view, pos)) {
            pos = text.indexOf(QChar(kEscape), pos + 1);
            continue;
        }
        const qsizetype parametersEnd = skipSgrParameters(view, pos + 2);
        if (parametersEnd < size && view[parametersEnd] == u'm') {
            pos = parametersEnd + 1; // SGR: kept for the second pass
            continue;
        }
        qsizetype end = pos + 2;
        while (end < size && !isFinalByte(view[end]) && view[end] != QChar(kEscape))
            ++end;
        if (end < size && isFinalByte(view[end])) {
            if (stripped.isEmpty())
                stripped.reserve(size);
            stripped.append(view.mid(copiedUpTo, pos - copiedUpTo));
            copiedUpTo = end + 1;
            pos = end + 1;
        } else {
            pos = end; // at the next ESC, or at the end of the text
        }
    }
    if (copiedUpTo == 0)
        return text;
    stripped.append(view.mid(copiedUpTo));
    return stripped;
}

// Splits text at its SGR sequences: onText(from, length) for every stretch of
// text between them, onSgr(parameters) for every sequence, in order.
template <typename OnText, typename OnSgr>
void walkSgrSequences(QStringView text, OnText&& onText, OnSgr&& onSgr)
{
    const qsizetype size = text.size();
    qsizetype last = 0;
    qsizetype pos = text.indexOf(QChar(kEscape));
    while (pos >= 0 && pos < size) {
        if (startsControlSequence(text, pos)) {
            const qsizetype parametersEnd = skipSgrParameters(text, pos + 2);
            if (parametersEnd < size && text[parametersEnd] == u'm') {
                if (pos > last)
                    onText(last, pos - last);
                onSgr(text.mid(pos + 2, parametersEnd - pos - 2));
                last = parametersEnd + 1;
                pos = text.indexOf(QChar(kEscape), last);
                continue;
            }
        }
        pos = text.indexOf(QChar(kEscape), pos + 1);
    }
    if (last < size)
        onText(last, size - last);
}

} // namespace

AnsiParser::AnsiParser()
{
    reset();
}

void AnsiParser::reset()
{
    foreground = QColor(255, 255, 255);
    background = QColor(0, 0, 0);
    bold = false;
    underline = false;
    italic = false;
    basicForeground = -1;
    // Servers reset several times a line; the reset format is always the
    // same, so it is built once and shared.
    static const QTextCharFormat resetFormat = buildFormat();
    currentFormat = resetFormat;
}

QList<AnsiParser::FormatRun> AnsiParser::parse(const QString& input)
{
    QList<FormatRun> runs;
    if (input.isEmpty())
        return runs;
    if (!input.contains(QChar(kEscape))) {
        runs.append({input, runFormat()});
        return runs;
    }
    const QString text = stripNonSgrSequences(input);
    walkSgrSequences(
        text,
        [&](qsizetype from, qsizetype length) {
            runs.append({text.mid(from, length), runFormat()});
        },
        [this](QStringView parameters) { applySgrParameters(parameters); });
    return runs;
}

QString AnsiParser::plainText(const QString& input)
{
    if (!input.contains(QChar(kEscape)))
        return input;
    // The same two passes as parse(): other sequences first, then SGR, since
    // removing one can complete the other.
    const QString text = stripNonSgrSequences(input);
    QString plain;
    plain.reserve(text.size());
    walkSgrSequences(
        text, [&](qsizetype from, qsizetype length) { plain.append(QStringView(text).mid(from, length)); },
        [](QStringView) {});
    return plain;
}

void AnsiParser::applySgrParameters(QStringView parameters)
{
    if (parameters.isEmpty()) {
        reset();
        return;
    }
    // Empty parts are dropped, so "ESC[;m" changes nothing. Parts that do not
    // fit in 32 bits are dropped too; accumulation stops at the first overflow so
    // thousands of digits cost no more than reading them.
    QList<int> codes;
    qint64 value = 0;
    bool hasDigits = false;
    bool overflow = false;
    for (qsizetype i = 0; i <= parameters.size(); ++i) {
        if (i == parameters.size() || parameters[i] == u';') {
            if (hasDigits && !overflow)
                codes.append(int(value));
            value = 0;
            hasDigits = false;
            overflow = false;
            continue;
        }
        hasDigits = true;
        if (!overflow) {
            value = value * 10 + (parameters[i].unicode() - '0');
            overflow = value > std::numeric_limits<int>::max();
        }
    }
    processSgrCodes(codes);
}

void AnsiParser::processSgrCodes(const QList<int>& codes)
{
    const qsizetype count = codes.size();
    qsizetype i = 0;
    while (i < count) {
        const int code = codes[i];
        if (code != 38 && code != 48) {
            processSgrCode(code);
            ++i;
            continue;
        }
        if (i + 1 >= count) {
            ++i;
            continue;
        }
        QColor color;
        const int selector = codes[i + 1];
        if (selector == 2) {
            if (count <= i + 3) {
                // Too short to be a colour: skip "38;2" and read on.
                i += 2;
                continue;
            }
            const int red = codes[i + 2];
            const int green = codes[i + 3];
            const int blue = i + 4 < count ? codes[i + 4] : 0;
            if (red < 256 && green < 256 && blue < 256)
                color = QColor(red, green, blue);
            i += 5;
        } else if (selector == 5) {
            if (i + 2 >= count) {
                i += 2;
                continue;
            }
            color = colorFrom256(codes[i + 2]);
            i += 3;
        } else {
            i += 2;
            continue;
        }
        if (code == 38) {
            foreground = color;
            basicForeground = -1;
        } else {
            background = color;
        }
    }
}

void AnsiParser::processSgrCode(int code)
{
    switch (code) {
    case 0:
        reset();
        return;
    case 1:
        bold = true;
        return;
    case 3:
        italic = true;
        return;
    case 4:
        underline = true;
        return;
    case 22:
        bold = false;
        italic = false;
        return;
    case 24:
        underline = false;
        return;
    case 39:
    case 97:
        foreground = QColor(255, 255, 255);
        return;
    case 49:
        background = QColor(0, 0, 0);
        return;
    case 107:
        background = QColor(255, 255, 255);
        return;
    default:
        break;
    }
    if (code >= 30 && code <= 37) {
        foreground = getColorFromCode(code - 30);
        basicForeground = code - 30;
    } else if (code >= 40 && code <= 47) {
        background = getColorFromCode(code - 40);
    } else if (code >= 90 && code <= 96) {
        foreground = QColor::fromRgb(kLightColors[code - 90]);
    } else if (code >= 100 && code <= 106) {
        background = QColor::fromRgb(kLightColors[code - 100]);
    }
}

QTextCharFormat AnsiParser::runFormat()
{
    const bool bright = bold && basicForeground >= 0 && basicForeground <= 7;
    const quint64 key = colorKey(bright ? colorFrom256(basicForeground + 8) : foreground) << 32 |
                        colorKey(background) << 3 | quint64(bold) << 2 | quint64(italic) << 1 |
                        quint64(underline);
    const auto cached = formatCache.constFind(key);
    if (cached != formatCache.constEnd())
        return *cached;
    if (formatCache.size() >= kMaxCachedFormats)
        formatCache.clear();
    return *formatCache.insert(key, buildFormat());
}

QTextCharFormat AnsiParser::buildFormat() const
{
    QTextCharFormat format;
    if (bold && basicForeground >= 0 && basicForeground <= 7)
        format.setForeground(colorFrom256(basicForeground + 8));
    else
        format.setForeground(foreground);
    format.setBackground(background);
    if (bold)
        format.setFontWeight(QFont::Bold);
    if (underline)
        format.setUnderlineStyle(QTextCharFormat::SingleUnderline);
    if (italic)
        format.setFontItalic(true);
    return format;
}

QColor AnsiParser::colorFrom256(int index)
{
    static constexpr std::array<QRgb, 16> ansi16 = {
        qRgb(0, 0, 0),     qRgb(170, 0, 0),    qRgb(0, 170, 0),    qRgb(170, 85, 0),
        qRgb(0, 0, 170),   qRgb(170, 0, 170),  qRgb(0, 170, 170),  qRgb(170, 170, 170),
        qRgb(85, 85, 85),  qRgb(255, 85, 85),  qRgb(85, 255, 85),  qRgb(255, 255, 85),
        qRgb(85, 85, 255), qRgb(255, 85, 255), qRgb(85, 255, 255), qRgb(255, 255, 255),
    };
    if (index >= 0 && index < 16)
        return QColor::fromRgb(ansi16[index]);
    if (index >= 16 && index < 232) {
        // Evenly spaced cube levels (0, 51, ..., 255), not the xterm ones.
        const int k = index - 16;
        return QColor((k / 36) * 51, ((k % 36) / 6) * 51, (k % 6) * 51);
    }
    if (index >= 232 && index < 256) {
        const int grey = 8 + 10 * (index - 232);
        return QColor(grey, grey, grey);
    }
    return QColor(255, 255, 255);
}

QColor AnsiParser::getColorFromCode(int code)
{
    if (code >= 0 && code < int(kPureColors.size()))
        return QColor::fromRgb(kPureColors[code]);
    return QColor(255, 255, 255);
}
