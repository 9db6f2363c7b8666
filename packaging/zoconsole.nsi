; The installer, for the user who runs it: it needs no administrator. scripts/package passes VERSION,
; OUTPUT, ICON, SIDE (the picture beside the first and the last page), FILES with the macros
; InstallFiles and RemoveFolders, and, when it signs, SIGN: the command that signs a file.

Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true

!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include TextFunc.nsh
!include WinVer.nsh
!include "${FILES}"

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\ZoConsole"
!define SETTINGS_KEY "Software\Zorbel\ZoConsole"
!define LIST "$INSTDIR\Uninstall.txt" ; the files that were installed, one a line
!define EXIT_IN_USE 3
!define EXIT_OLD_SYSTEM 4

Name "ZoConsole"
OutFile "${OUTPUT}"
RequestExecutionLevel user
InstallDir "$LOCALAPPDATA\Programs\ZoConsole"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
BrandingText "ZoConsole ${VERSION}"
SpaceTexts none ; it is the same page that would show them when uninstalling
ShowInstDetails nevershow
ShowUninstDetails nevershow
!ifdef SIGN
  !uninstfinalize '"${SIGN}" "%1"' = 0
  !finalize '"${SIGN}" "%1"' = 0
!endif

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "ZoConsole"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Installs ZoConsole"
VIAddVersionKey "CompanyName" "the ZoConsole authors"
VIAddVersionKey "LegalCopyright" "the ZoConsole authors"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${SIDE}"
!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_NODESC

!define MUI_WELCOMEPAGE_TITLE "ZoConsole ${VERSION}"
!define MUI_WELCOMEPAGE_TEXT "This installs ZoConsole, the desktop console of the Zorbel \
handheld, with ZoLink for the command line, the device simulator, the guide and examples.$\r$\n$\r$\n\
It installs for you only and needs no administrator. An older ZoConsole is replaced; your settings \
and the examples you changed stay as they are.$\r$\n$\r$\n\
Close ZoConsole before you go on."
!define MUI_DIRECTORYPAGE_TEXT_TOP "Choose a folder for ZoConsole and click Install. Other files in \
that folder stay as they are, now and when you uninstall."
!define MUI_FINISHPAGE_NOREBOOTSUPPORT
!define MUI_FINISHPAGE_TITLE "ZoConsole ${VERSION} is installed"
!define MUI_FINISHPAGE_TEXT "The start menu has ZoConsole, its guide and the device simulator."
!define MUI_FINISHPAGE_RUN "$INSTDIR\ZoConsole.exe"
!define MUI_FINISHPAGE_RUN_TEXT "Start ZoConsole now"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH

!define MUI_PAGE_HEADER_TEXT "Uninstall ZoConsole"
!define MUI_PAGE_HEADER_SUBTEXT "Choose what to remove and click Uninstall."
!define MUI_COMPONENTSPAGE_TEXT_TOP "This removes ZoConsole and the files it installed, changed \
examples included. Other files in its folder stay."
!define MUI_COMPONENTSPAGE_TEXT_INSTTYPE " "
!define MUI_COMPONENTSPAGE_TEXT_COMPLIST "Remove:"
!insertmacro MUI_UNPAGE_COMPONENTS
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Ends here, with nothing changed, while PROGRAM runs: Windows lets nobody write to it then. A
; person may close it and go on.
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

!macro RequireAllClosed
  !insertmacro RequireClosed "ZoConsole"
  !insertmacro RequireClosed "ZoLink"
  !insertmacro RequireClosed "ZorbelSim"
!macroend

; Deletes the files that an older version has installed. Its examples may be the user's own by now:
; they stay, and they stay listed.
!macro DeleteOldFiles
  ${If} ${FileExists} "${LIST}"
    Rename "${LIST}" "${LIST}.old"
    FileOpen $8 "${LIST}.old" r
    FileOpen $9 "${LIST}" w
    ${Do}
      ClearErrors
      FileRead $8 $0
      ${If} ${Errors}
        ${Break}
      ${EndIf}
      ${TrimNewLines} "$0" $1
      StrCpy $2 $1 9
      ${If} $2 == "examples\"
        FileWrite $9 "$1$\r$\n"
      ${Else}
        Delete "$INSTDIR\$1"
      ${EndIf}
    ${Loop}
    FileClose $8
    FileClose $9
    Delete "${LIST}.old"
  ${EndIf}
!macroend

; Installs SOURCE as TARGET and lists it, which open file $9 is for.
!macro InstallFile SOURCE TARGET
  File "/oname=$INSTDIR\${TARGET}" "${SOURCE}"
  FileWrite $9 "${TARGET}$\r$\n"
!macroend

; The same, unless there is such a file.
!macro InstallExample SOURCE TARGET
  ${IfNot} ${FileExists} "$INSTDIR\${TARGET}"
    !insertmacro InstallFile "${SOURCE}" "${TARGET}"
  ${EndIf}
!macroend

Function .onInit
  ${IfNot} ${AtLeastWin10}
    MessageBox MB_OK|MB_ICONSTOP "ZoConsole needs Windows 10 or later." /SD IDOK
    SetErrorLevel ${EXIT_OLD_SYSTEM}
    Quit
  ${EndIf}
FunctionEnd

Section
  !insertmacro RequireAllClosed
  SetOutPath "$INSTDIR"
  !insertmacro DeleteOldFiles
  FileOpen $9 "${LIST}" a
  FileSeek $9 0 END
  !insertmacro InstallFiles
  FileClose $9
  SetOutPath "$INSTDIR" ; where the shortcuts start the programs
  WriteUninstaller "$INSTDIR\Uninstall.exe"

  CreateDirectory "$SMPROGRAMS\ZoConsole"
  CreateShortcut "$SMPROGRAMS\ZoConsole\ZoConsole.lnk" "$INSTDIR\ZoConsole.exe"
  CreateShortcut "$SMPROGRAMS\ZoConsole\Guide.lnk" "$INSTDIR\docs\guide.html"
  CreateShortcut "$SMPROGRAMS\ZoConsole\Device simulator.lnk" "$SYSDIR\cmd.exe" \
    "/k ZorbelSim.exe --help" "$INSTDIR\ZorbelSim.exe"

  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "ZoConsole"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "the ZoConsole authors"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\ZoConsole.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

; What the user put beside the program stays, and its folder with it.
Section "un.ZoConsole"
  SectionIn RO
  !insertmacro RequireAllClosed
  SetOutPath "$TEMP" ; nobody's current folder can be removed
  FileOpen $8 "${LIST}" r
  ${Do}
    ClearErrors
    FileRead $8 $0
    ${If} ${Errors}
      ${Break}
    ${EndIf}
    ${TrimNewLines} "$0" $1
    Delete "$INSTDIR\$1"
  ${Loop}
  FileClose $8
  Delete "${LIST}"
  Delete "$INSTDIR\Uninstall.exe"
  !insertmacro RemoveFolders
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\ZoConsole\ZoConsole.lnk"
  Delete "$SMPROGRAMS\ZoConsole\Guide.lnk"
  Delete "$SMPROGRAMS\ZoConsole\Device simulator.lnk"
  RMDir "$SMPROGRAMS\ZoConsole"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd

; Off unless the user checks it, and so never silently.
Section /o "un.The settings of all terminals"
  DeleteRegKey HKCU "${SETTINGS_KEY}"
  DeleteRegKey /ifempty HKCU "Software\Zorbel"
SectionEnd
