// SPDX-License-Identifier: MIT
#include "wire/startup_win.h"

#include <utility>

Taskmill_InheritedHandles::Taskmill_InheritedHandles(std::vector<HANDLE> handles, const STARTUPINFOW &plain)
    : m_handles{std::move(handles)}
{
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    m_attributes.resize(size);
    m_information.StartupInfo = plain;
    m_information.StartupInfo.cb = sizeof m_information;
    const auto list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_attributes.data());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size))
        return;
    m_information.lpAttributeList = list;
    m_areValid = !m_handles.empty() &&
                 UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(),
                                           m_handles.size() * sizeof(HANDLE), nullptr, nullptr) != 0;
}

Taskmill_InheritedHandles::~Taskmill_InheritedHandles()
{
    if (m_information.lpAttributeList)
        DeleteProcThreadAttributeList(m_information.lpAttributeList);
}

HANDLE Taskmill_InheritableEvent()
{
    SECURITY_ATTRIBUTES inheritable{};
    inheritable.nLength = sizeof inheritable;
    inheritable.bInheritHandle = TRUE;
    return CreateEventW(&inheritable, TRUE, FALSE, nullptr);
}
