// SPDX-License-Identifier: MIT
#include "engines/outputreader.h"

#include "engines/linetext.h"
#include "engines/outputinterpreter.h"
#include "engines/program.h"

#include <algorithm>

namespace {
/// What the system and run-time libraries print of a program that fell; its own words are the program's.
/// Signals that somebody sends to end it are no error.
bool IsCrash(std::string_view text)
{
    switch (text.front()) {
    case 'f':
        return text.starts_with("forrtl: severe");
    case 'F':
        return text.starts_with("Fortran runtime error");
    case 'S':
        return text.starts_with("Segmentation fault");
    case 'P': {
        constexpr std::string_view beginning = "Program received signal ";
        return text.starts_with(beginning) && !text.substr(beginning.size()).starts_with("SIGTERM") &&
               !text.substr(beginning.size()).starts_with("SIGINT") &&
               !text.substr(beginning.size()).starts_with("SIGXCPU");
    }
    default:
        return false;
    }
}

/// Which first characters a banner has; every line of a file of no known program is looked at.
const std::array<bool, 256> &BannerBeginnings()
{
    static const std::array<bool, 256> beginnings = [] {
        std::array<bool, 256> table{};
        for (const Taskmill_Program *program : Taskmill_Programs()) {
            for (const std::string_view banner : program->Banners)
                table[static_cast<unsigned char>(banner.front())] = true;
        }
        return table;
    }();
    return beginnings;
}
} // namespace

Taskmill_OutputReader::Taskmill_OutputReader() = default;
Taskmill_OutputReader::~Taskmill_OutputReader() = default;

void Taskmill_OutputReader::Feed(std::string_view bytes)
{
    m_lines.Feed(bytes, [this](std::string_view line) { ReadLine(line); });
}

void Taskmill_OutputReader::Finish()
{
    m_lines.Finish([this](std::string_view line) { ReadLine(line); });
}

Taskmill_ProgramResult Taskmill_OutputReader::State() const
{
    return m_interpreter ? m_interpreter->Result() : Taskmill_ProgramResult{};
}

void Taskmill_OutputReader::ReadLine(std::string_view line)
{
    const std::string_view text = Taskmill_Unframed(line);
    // A program that is run by another prints its banner into the other's output: that is no new run.
    if (!text.empty() && (!m_interpreter || m_interpreter->HasEnded()) &&
        BannerBeginnings()[static_cast<unsigned char>(text.front())])
        FindProgram(text);
    if (!m_interpreter)
        return;
    if (!text.empty() && IsCrash(text))
        m_interpreter->Crash(text);
    m_interpreter->ReadLine(line, text);
}

void Taskmill_OutputReader::FindProgram(std::string_view text)
{
    for (const Taskmill_Program *program : Taskmill_Programs()) {
        const auto isBanner = [text](std::string_view banner) {
            return text.starts_with(banner);
        };
        if (std::ranges::none_of(program->Banners, isBanner))
            continue;
        if (!m_interpreter || m_interpreter->Program() != program->Name)
            m_interpreter = program->MakeInterpreter();
        return;
    }
}
