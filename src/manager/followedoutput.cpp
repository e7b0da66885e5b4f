// SPDX-License-Identifier: MIT
#include "manager/followedoutput.h"

#include "engines/outputreader.h"
#include "manager/outputpart.h"

#include <algorithm>
#include <utility>

struct Taskmill_FollowedOutput::Part
{
    std::unique_ptr<Taskmill_OutputPart> Source;
    std::unique_ptr<Taskmill_OutputReader> Reader = std::make_unique<Taskmill_OutputReader>();
    qint64 Read = 0; ///< bytes
    bool IsFinished = false;

    [[nodiscard]] bool IsKnown() const { return Reader->IsOfKnownProgram(); }
    [[nodiscard]] bool IsGivenUp() const { return Read >= MostUnknown && !IsKnown(); }
    [[nodiscard]] bool IsComplete() const { return IsGivenUp() || Source->IsComplete(); }
};

Taskmill_FollowedOutput::Taskmill_FollowedOutput(const Taskmill_OutputFiles &files)
    : m_paths{files.Paths}
{
    for (const QString &path : m_paths)
        m_parts.push_back({.Source = std::make_unique<Taskmill_OutputFilePart>(path, files)});
}

Taskmill_FollowedOutput::~Taskmill_FollowedOutput() = default;

void Taskmill_FollowedOutput::SetPrinted(std::unique_ptr<Taskmill_OutputPart> source)
{
    if (std::exchange(m_hasPrinted, true))
        m_parts.pop_back();
    m_parts.push_back({.Source = std::move(source)});
}

void Taskmill_FollowedOutput::SetPrinted(const KilnUtil_PrintedReader &read)
{
    SetPrinted(std::make_unique<Taskmill_PrintedPart>(read));
}

void Taskmill_FollowedOutput::SetPrinted(const Taskmill_OutputText &whole)
{
    SetPrinted(std::make_unique<Taskmill_PrintedTextPart>(whole));
}

void Taskmill_FollowedOutput::AddPrinted(const QByteArray &piece)
{
    if (!m_hasPrinted)
        SetPrinted(std::make_unique<Taskmill_PrintedTextPart>());
    if (auto *text = dynamic_cast<Taskmill_PrintedTextPart *>(m_parts.back().Source.get());
        text && !m_parts.back().IsGivenUp())
        text->Add(piece);
}

void Taskmill_FollowedOutput::SetOvertaken()
{
    for (Part &part : m_parts)
        part.Source->SetOvertaken();
}

void Taskmill_FollowedOutput::End(const QDateTime &ended)
{
    m_hasEnded = true;
    for (Part &part : m_parts)
        part.Source->End(ended);
}

Taskmill_FollowedOutput::Part *Taskmill_FollowedOutput::KnownPart()
{
    const auto part = std::ranges::find_if(m_parts, &Part::IsKnown);
    return part == m_parts.end() ? nullptr : &*part;
}

bool Taskmill_FollowedOutput::Advance(qint64 most)
{
    // What counts less is read only as long as nothing that counts more is known.
    qint64 left = most;
    for (Part &part : m_parts) {
        const bool hasMore = Advance(part, left);
        if (hasMore || part.IsKnown())
            return hasMore;
    }
    return false;
}

bool Taskmill_FollowedOutput::Advance(Part &part, qint64 &left)
{
    constexpr qint64 pieceSize = 256L * 1024;
    while (!part.IsGivenUp()) {
        if (left <= 0)
            return true;
        const QByteArray bytes = part.Source->Take(qMin(left, pieceSize));
        if (part.Source->IsBegunAnew())
            BeginAnew(part);
        if (bytes.isEmpty())
            break;
        part.Reader->Feed({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        part.Read += bytes.size();
        m_read += bytes.size();
        left -= bytes.size();
        m_hasChanged = m_hasChanged || part.IsKnown();
    }
    // The last line need not have an end.
    if (part.IsComplete() && !std::exchange(part.IsFinished, true)) {
        part.Reader->Finish();
        m_hasChanged = m_hasChanged || part.IsKnown();
    }
    return false;
}

void Taskmill_FollowedOutput::BeginAnew(Part &part)
{
    m_hasChanged = m_hasChanged || part.IsKnown();
    part.Reader = std::make_unique<Taskmill_OutputReader>();
    part.Read = 0;
    part.IsFinished = false;
}

bool Taskmill_FollowedOutput::IsComplete() const
{
    if (!m_hasEnded)
        return false;
    for (const Part &part : m_parts) {
        if (!part.IsComplete())
            return false;
        if (part.IsKnown())
            break;
    }
    return true;
}

bool Taskmill_FollowedOutput::IsOfKnownProgram() const
{
    return std::ranges::any_of(m_parts, &Part::IsKnown);
}

Taskmill_ResultState Taskmill_FollowedOutput::State()
{
    m_hasChanged = false;
    const Part *part = KnownPart();
    return std::make_shared<const Taskmill_ProgramResult>(part ? part->Reader->State()
                                                               : Taskmill_ProgramResult{});
}
