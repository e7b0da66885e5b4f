; SPDX-License-Identifier: MIT
; The installer for Windows: scripts/windows/package makes it of the folder FOLDER, with the lists of its files in LISTS.
; It installs for one user, who needs no other rights.
Target amd64-unicode
!include MUI2.nsh
!include FileFunc.nsh

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Taskmill"
!define RUN_KEY "Software\Microsoft\Windows\CurrentVersion\Run"
!define TYPE "Taskmill.Project"

Name "Taskmill"
OutFile "${OUTFILE}"
InstallDir "$LOCALAPPDATA\Programs\Taskmill"
InstallDirRegKey HKCU "${KEY}" "InstallLocation"
RequestExecutionLevel user
SetCompressor /SOLID lzma
ManifestDPIAware true
VIProductVersion "${VERSION}.1"
VIFileVersion "${VERSION}.1"
VIAddVersionKey ProductName "Taskmill"
VIAddVersionKey CompanyName "Kilnworks, Inc."
VIAddVersionKey FileDescription "Taskmill installer"
VIAddVersionKey FileVersion "${VERSION}.1"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey LegalCopyright "The Taskmill developers"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\taskmill.exe"
!insertmacro MUI_PAGE_LICENSE "${LICENSE}"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; A manager that has just ended holds its file for a moment longer, a keeper as long as its job runs.
!macro STOP_IF_IN_USE FILE
    IfFileExists "$INSTDIR\${FILE}" 0 free_${FILE}
    StrCpy $1 75
again_${FILE}:
    ClearErrors
    FileOpen $0 "$INSTDIR\${FILE}" a
    IfErrors 0 close_${FILE}
    Sleep 200
    IntOp $1 $1 - 1
    IntCmp $1 0 0 0 again_${FILE}
    MessageBox MB_OK|MB_ICONEXCLAMATION "Taskmill, or a job that it has started, is running. End it first." /SD IDOK
    SetErrorLevel 3
    Abort
close_${FILE}:
    FileClose $0
free_${FILE}:
!macroend

; Files in use can neither be replaced nor removed, and jobs may run.
!macro STOP_IF_RUNNING
    IfFileExists "$INSTDIR\taskmillctl.exe" 0 notRunning
    nsExec::Exec '"$INSTDIR\taskmillctl.exe" test'
    Pop $0
    StrCmp $0 "0" 0 notRunning
    MessageBox MB_OK|MB_ICONEXCLAMATION "Taskmill is running. End it first." /SD IDOK
    SetErrorLevel 3
    Abort
notRunning:
    !insertmacro STOP_IF_IN_USE taskmill.exe
    !insertmacro STOP_IF_IN_USE taskmill-keeper.exe
!macroend

Section "Taskmill" SecProgram
    SectionIn RO
    !insertmacro STOP_IF_RUNNING
    !include "${LISTS}/install.nsh"
    SetOutPath "$INSTDIR"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    WriteRegStr HKCU "${KEY}" "DisplayName" "Taskmill"
    WriteRegStr HKCU "${KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${KEY}" "DisplayIcon" "$INSTDIR\taskmill.exe"
    WriteRegStr HKCU "${KEY}" "Publisher" "The Taskmill developers"
    WriteRegStr HKCU "${KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${KEY}" "NoRepair" 1
    ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
    IntFmt $0 "0x%08X" $0
    WriteRegDWORD HKCU "${KEY}" "EstimatedSize" "$0"
SectionEnd

Section "Entry in the Start menu" SecMenu
    CreateShortcut "$SMPROGRAMS\Taskmill.lnk" "$INSTDIR\taskmill.exe"
SectionEnd

Section "Open .mill files with Taskmill" SecType
    WriteRegStr HKCU "Software\Classes\.mill" "" "${TYPE}"
    WriteRegStr HKCU "Software\Classes\${TYPE}" "" "Taskmill project"
    WriteRegStr HKCU "Software\Classes\${TYPE}\DefaultIcon" "" "$INSTDIR\taskmill.exe,0"
    WriteRegStr HKCU "Software\Classes\${TYPE}\shell\open\command" "" '"$INSTDIR\taskmill.exe" "%1"'
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
SectionEnd

; The same as the entry in the program's menu.
Section /o "Start at log-in" SecLogin
    WriteRegStr HKCU "${RUN_KEY}" "Taskmill" '"$INSTDIR\taskmill.exe" -login'
SectionEnd

; /LOGIN chooses it where nobody is asked (/S).
Function .onInit
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/LOGIN" $1
    IfErrors +2
        SectionSetFlags ${SecLogin} ${SF_SELECTED}
FunctionEnd

; What the installer has brought, and nothing else: a project may lie among it.
Section "Uninstall"
    !insertmacro STOP_IF_RUNNING
    !include "${LISTS}/uninstall.nsh"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    Delete "$SMPROGRAMS\Taskmill.lnk"
    ReadRegStr $0 HKCU "Software\Classes\.mill" ""
    StrCmp $0 "${TYPE}" 0 +2
        DeleteRegKey HKCU "Software\Classes\.mill"
    DeleteRegKey HKCU "Software\Classes\${TYPE}"
    DeleteRegValue HKCU "${RUN_KEY}" "Taskmill"
    DeleteRegKey HKCU "${KEY}"
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
SectionEnd
