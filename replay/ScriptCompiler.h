#pragma once
// Compiling the C of a script folder: the action files of its description
// become one shared object, built by the system C compiler ($CC, else "cc")
// with <webstep/runtime.h> forced in. Every include that is not found in the
// folder (nor among the compiler's own headers) is stood in for by a header
// that includes the runtime header, each with a note. The object is cached
// under a key made of its sources, the runtime header and the compiler's
// version, in $WEBSTEP_CACHE_DIR, else $XDG_CACHE_HOME/webstep, else
// ~/.cache/webstep.
//
// The action files are compiled as one unit (a file that includes each in
// the description's order), so that globals.h, included by every action,
// defines its globals once. The language is GNU C99 with warnings off and
// the old forms accepted: functions without a return type, calls of
// functions never declared.
#include <string>
#include <vector>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/recording/ScriptFolder.h"

/// How to compile.
struct WEBSTEP_API ScriptCompileOptions {
    /// The compiler command (words split at blanks); empty: $CC, else "cc".
    std::string compiler;
    /// The cache directory; empty: the default above.
    std::string cacheDir;
    /// Compile even when the cache has the object.
    bool force = false;
};

/// What a compilation gave.
struct WEBSTEP_API ScriptCompileResult {
    bool ok = false;
    /// The shared object (in the cache).
    std::string object;
    /// True when the object came from the cache.
    bool cached = false;
    /// The compiler's own messages ("file:line:col: error: ..."), as it
    /// wrote them; also the reason when the compiler could not run.
    std::string compilerOutput;
    /// The command run, for messages.
    std::string command;
    /// The actions compiled: name (also the C function) and file.
    std::vector<FolderAction> actions;
};

/// Compiles the C of script folders into shared objects, cached.
class WEBSTEP_API CScriptCompiler {
public:
    /// Compiles folder's action files. False when a file is missing or the
    /// compiler fails (result.compilerOutput holds its messages); notes name
    /// each include stood in for. Never throws.
    static bool Compile(const CScriptFolder& folder, const ScriptCompileOptions& options,
                        ScriptCompileResult& result, FolderMessages& messages);
    /// The cache directory the options give.
    static std::string CacheDir(const ScriptCompileOptions& options);
    /// The text of <webstep/runtime.h> that compiled scripts get.
    static const char* RuntimeHeader();
};
