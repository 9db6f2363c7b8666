; The installer, for the user who runs it: no administrator is asked for. scripts/package gives
; VERSION, OUTPUT, ICON, SIDE (the picture beside the first and the last page) and FILES, with the
; macros InstallFiles and DeleteFiles.

Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true

!include MUI2.nsh
!include FileFunc.nsh
!include "${FILES}"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\ZoConsole"
!define SETTINGS_KEY "Software\Zorbel\ZoConsole"
!define EXIT_IN_USE 3

Name "ZoConsole"
OutFile "${OUTPUT}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\ZoConsole"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
BrandingText "ZoConsole ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "ZoConsole"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Installs ZoConsole"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${SIDE}"
!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_NODESC
!define MUI_FINISHPAGE_RUN "$INSTDIR\ZoConsole.exe"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_COMPONENTS
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Ends here, with nothing changed, while PROGRAM runs: the system lets nobody write to it. A person
; may close it and go on.
!macro RequireClosed PROGRAM
  !define again "again_${__LINE__}"
  !define free "free_${__LINE__}"
  ${again}:
  IfFileExists "$INSTDIR\${PROGRAM}.exe" 0 ${free}
  ClearErrors
  FileOpen $0 "$INSTDIR\${PROGRAM}.exe" a
  IfErrors +3
  FileClose $0
  Goto ${free}
  MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "${PROGRAM} is running. Close it to go on." \
    /SD IDCANCEL IDRETRY ${again}
  SetErrorLevel ${EXIT_IN_USE}
  Abort "${PROGRAM} is running."
  ${free}:
  !undef again
  !undef free
!macroend

Section
  !insertmacro RequireClosed "ZoConsole"
  !insertmacro RequireClosed "ZorbelSim"
  RMDir /r "$INSTDIR\docs" ; pages of another version
  !insertmacro InstallFiles
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\Uninstall.exe"

  CreateDirectory "$SMPROGRAMS\ZoConsole"
  CreateShortcut "$SMPROGRAMS\ZoConsole\ZoConsole.lnk" "$INSTDIR\ZoConsole.exe"
  CreateShortcut "$SMPROGRAMS\ZoConsole\Guide.lnk" "$INSTDIR\docs\guide.html"
  CreateShortcut "$SMPROGRAMS\ZoConsole\Device simulator.lnk" "$SYSDIR\cmd.exe" \
    "/k ZorbelSim.exe --help" "$INSTDIR\ZorbelSim.exe"

  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "ZoConsole"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\ZoConsole.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

; Only what was installed goes: what the user put beside it stays, and its folder with it.
Section "un.The program"
  SectionIn RO
  !insertmacro RequireClosed "ZoConsole"
  !insertmacro RequireClosed "ZorbelSim"
  SetOutPath "$TEMP" ; nobody's current folder can be removed
  !insertmacro DeleteFiles
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\ZoConsole\ZoConsole.lnk"
  Delete "$SMPROGRAMS\ZoConsole\Guide.lnk"
  Delete "$SMPROGRAMS\ZoConsole\Device simulator.lnk"
  RMDir "$SMPROGRAMS\ZoConsole"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd

; Not without being asked to, and so never silently.
Section /o "un.The settings of all terminals"
  DeleteRegKey HKCU "${SETTINGS_KEY}"
  DeleteRegKey /ifempty HKCU "Software\Zorbel"
SectionEnd
