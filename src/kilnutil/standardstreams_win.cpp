// SPDX-License-Identifier: MIT
#include "kilnutil/standardstreams.h"

#include <QStringDecoder>

#include <limits>

#include <io.h>
#include <qt_windows.h>

namespace {
constexpr qsizetype mostUnitsAtOnce = 8192; // older consoles refuse long texts

HANDLE HandleOf(std::FILE *stream)
{
    const int descriptor = _fileno(stream);
    if (descriptor >= 0)
        return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    // A program that began without a console, and to whose console the run-time library could not turn.
    return GetStdHandle(stream == stderr ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
}

/// Null when the stream is no console.
HANDLE ConsoleOf(std::FILE *stream)
{
    const HANDLE handle = HandleOf(stream);
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) ? handle : nullptr;
}

void WriteToConsole(HANDLE console, QStringView text)
{
    while (!text.isEmpty()) {
        const QStringView part = text.first(qMin(text.size(), mostUnitsAtOnce));
        DWORD written = 0;
        if (!WriteConsoleW(console, part.utf16(), static_cast<DWORD>(part.size()), &written, nullptr) ||
            written == 0)
            return;
        text = text.sliced(static_cast<qsizetype>(written));
    }
}

/// The code page in which console programs write when their output is redirected.
UINT ToolCodePage()
{
    const UINT consoleCodePage = GetConsoleOutputCP();
    return consoleCodePage != 0 ? consoleCodePage : GetOEMCP();
}
} // namespace

void KilnUtil_StandardStreams::Write(std::FILE *stream, const QString &text)
{
    std::fflush(stream);
    if (const HANDLE console = ConsoleOf(stream)) {
        WriteToConsole(console, text);
        return;
    }
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

QString KilnUtil_StandardStreams::TextOfTool(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return {};
    if (bytes.startsWith("\xff\xfe")) {
        QStringDecoder decoder{QStringDecoder::Utf16LE};
        return decoder.decode(bytes);
    }
    const UINT codePage = ToolCodePage();
    const auto size = static_cast<int>(qMin<qsizetype>(bytes.size(), std::numeric_limits<int>::max()));
    QString text{MultiByteToWideChar(codePage, 0, bytes.constData(), size, nullptr, 0), Qt::Uninitialized};
    MultiByteToWideChar(codePage, 0, bytes.constData(), size, reinterpret_cast<wchar_t *>(text.data()),
                        static_cast<int>(text.size()));
    return text;
}
