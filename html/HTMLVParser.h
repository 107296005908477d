#pragma once
// The page facade of a scanned page. Only its link table lives here so far:
// the default table of the URL-carrying attributes used by the page scanner.
#include "webstep/html/TagMap.h"

class CHTMLVParser {
public:
    virtual ~CHTMLVParser();

    // 24 rows and the terminating row.
    static const LinkSpec linkDescriptor[];
};
