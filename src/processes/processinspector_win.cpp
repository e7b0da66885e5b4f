// SPDX-License-Identifier: MIT
#include "processes/processinspector_native.h"
#include "processes/processinspector_wmic.h"

#include <QStandardPaths>

#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace {
/// Runs "wmic" as long as that is there and answers: present-day Windows has none. Otherwise asks the system.
class WindowsProcessInspector final : public Taskmill_ProcessInspector
{
protected:
    QString ListingText() override { return ListingBy(&Taskmill_WmicProcessInspector::ListingText); }
    QString InterruptibleListingText() override
    {
        return ListingBy(&Taskmill_WmicProcessInspector::InterruptibleListingText);
    }

    void EndProcess(int processID) override
    {
        if (ToolAnswers())
            m_wmic.EndProcess(processID);
        else
            m_native.EndProcess(processID);
    }

    void EndChildren(int processID) override
    {
        if (ToolAnswers())
            m_wmic.EndChildren(processID);
        else
            m_native.EndChildren(processID);
    }

    std::optional<QString> CreationDateNow(int processID) override
    {
        if (ToolAnswers())
            return std::nullopt;
        return m_native.CreationDateNow(processID);
    }

    std::optional<int> ParentNow(int processID) override
    {
        if (ToolAnswers())
            return std::nullopt;
        return m_native.ParentNow(processID);
    }

private:
    enum class Tool
    {
        Untried,
        Answers,
        Useless
    };

    QString ListingBy(QString (Taskmill_WmicProcessInspector::*listing)())
    {
        if (m_tool != Tool::Useless) {
            QString text = (m_wmic.*listing)();
            const bool answers = text.contains("ProcessId="_L1, Qt::CaseInsensitive);
            m_tool = answers ? Tool::Answers : Tool::Useless;
            if (answers)
                return text;
        }
        return m_native.ListingText();
    }

    bool ToolAnswers()
    {
        if (m_tool == Tool::Untried)
            (void)ListingText();
        return m_tool == Tool::Answers;
    }

    Taskmill_WmicProcessInspector m_wmic;
    Taskmill_NativeProcessInspector m_native;
    /// Asked on several threads.
    std::atomic<Tool> m_tool =
        QStandardPaths::findExecutable(u"wmic"_s).isEmpty() ? Tool::Useless : Tool::Untried;
};
} // namespace

std::unique_ptr<Taskmill_ProcessInspector> Taskmill_MakeSystemProcessInspector()
{
    return std::make_unique<WindowsProcessInspector>();
}
