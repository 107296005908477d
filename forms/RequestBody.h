#pragma once
// Turning a data set into a request body without a page form, and trimming
// a data set of the items a replay must not send. These are the data set's
// body-building operations, kept beside it as free functions of one class.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"
#include "webstep/forms/DataSet.h"

/// Data set to request body without a page form (URL-encoded, or multipart
/// with a boundary), and removal of the items a replay must not send. Static
/// functions only; they append to the caller's text and report no failure (a
/// file part whose file cannot be read carries no bytes).
class WEBSTEP_API CRequestBody {
public:
    /// Appends the body of every item (whatever its "sent" flag) to body:
    /// multipart when boundary is not empty (a file item's part carries the
    /// file named by its value), URL-encoded otherwise (at sign kept). The
    /// flag is accepted for the interface's sake and changes nothing.
    static void CreateArgumentsFromData(const CDataSet& set, const MString& boundary, bool flag,
                                        MString& body);
    /// Appends a URL-encoded body in which the text from each open up to and
    /// including the next close stays unencoded.
    static void CreateArgumentsFromDataSkipParams(const CDataSet& set, const MString& open,
                                                  const MString& close, MString& body);
    /// URL-encodes text except the runs from open to close. An open without a
    /// following close, and everything after it, is encoded (nothing is lost).
    /// An empty open or close leaves nothing unencoded.
    static void EscArgsSkipParams(const MString& open, const MString& close, MString& text);
    /// Removes and deletes the hidden-field items (type 8).
    static void EliminateHiddens(CDataSet& set);
    /// Removes and deletes the items marked read-only.
    static void EliminateReadOnlyArgs(CDataSet& set);
};
