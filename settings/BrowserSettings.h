#pragma once
// Which browser program a recording starts: the system's default browser or
// an explicit path, started by the library or by hand.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// The browser a recording starts: the system default or an explicit program
/// path, and whether the library or the user starts it. A value class; reading
/// the system default never fails (an empty path when none is found).
class WEBSTEP_API CBrowserSettings {
public:
    CBrowserSettings();
    CBrowserSettings(const CBrowserSettings& other);
    CBrowserSettings& operator=(const CBrowserSettings& other);
    ~CBrowserSettings();

    void SetPath(const MString& path) { m_path = path; }
    /// The default browser's program when use-default is set, else the path.
    MString GetPath() const;
    bool IsManualInvoke() const { return m_manualInvoke; }
    void SetManualInvoke(bool manual) { m_manualInvoke = manual; }
    bool IsUseDefault() const { return m_useDefault; }
    void SetUseDefault(bool useDefault) { m_useDefault = useDefault; }

    /// The program of a command line: the quoted text when the line starts
    /// with a quote, else the text before the first blank. Leading blanks are
    /// skipped; the path is returned as written (not shortened).
    static MString ExtractShortPath(const MString& commandLine);

private:
    /// The program that opens web pages, found the way Linux desktops find
    /// it: the first entry of $BROWSER; else the desktop's default web
    /// browser by the XDG rules (the handler of "x-scheme-handler/http", then
    /// of "text/html", in the mimeapps.list files of $XDG_CONFIG_HOME,
    /// $XDG_CONFIG_DIRS and the applications folders, and the Exec line of
    /// that .desktop file in $XDG_DATA_HOME/applications or
    /// $XDG_DATA_DIRS/applications); else the command registered in the
    /// registry stand-in for the file type of ".htm" under the classes root.
    /// Empty when none of them names a program.
    static MString GetDefaultBrowserPath();

    MString m_path;
    bool m_useDefault = true;
    bool m_manualInvoke = false;
};
