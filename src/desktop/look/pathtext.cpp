#include "desktop/look/pathtext.h"

#include <utility>

namespace
{
constexpr char16_t EscapeBase = 0xDC00; // plus the byte
constexpr char16_t FirstEscape = EscapeBase + 0x80;
constexpr char16_t LastEscape = EscapeBase + 0xFF;
} // namespace

QString PathText(const std::string& Path)
{
    QString text = QString::fromUtf8(Path);
    if (text.toUtf8().toStdString() == Path)
    {
        return text;
    }
    text.clear();
    for (const char c : Path)
    {
        const auto byte = static_cast<unsigned char>(c);
        text += QChar(static_cast<char16_t>(byte < 0x80 ? byte : EscapeBase + byte));
    }
    return text;
}

std::string PathBytes(const QString& Text)
{
    std::string bytes;
    QString run;
    const auto takeRun = [&] { bytes += std::exchange(run, {}).toStdString(); };
    for (qsizetype i = 0; i < Text.size(); ++i)
    {
        const char16_t unit = Text[i].unicode();
        const bool bSecondOfPair = i > 0 && Text[i - 1].isHighSurrogate();
        if (unit >= FirstEscape && unit <= LastEscape && !bSecondOfPair)
        {
            takeRun();
            bytes += static_cast<char>(unit - EscapeBase);
        }
        else
        {
            run += Text[i];
        }
    }
    takeRun();
    return bytes;
}
