#pragma once
// XPath queries and tag walks on HTML or XML bodies, for
// web_reg_save_param_xpath and web_reg_save_param_attrib.
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "webstep/foundation/Export.h"

/// How a body is read as a document.
enum class MarkupKind { Html, Xml };

/// Parses a body with a forgiving HTML or XML reader and answers XPath
/// queries or finds tags by their attributes. Malformed markup is read as
/// far as it goes; nothing is fetched from the network.
class WEBSTEP_API CMarkupQuery {
public:
    /// XML when the content type names XML (and not HTML), or when no
    /// content type is given and the body starts with "<?xml"; HTML
    /// otherwise.
    static MarkupKind Detect(std::string_view body, const std::string* contentType);

    /// Appends the text of each node the XPath selects (its markup with
    /// returnXml; a string, number or boolean result as its text), up to
    /// `wanted`. False with a message for a query that does not compile or
    /// a body that cannot be read at all.
    static bool XPath(std::string_view body, MarkupKind kind, const std::string& query,
                      bool returnXml, std::vector<std::string>& values, std::string& error,
                      std::size_t wanted = static_cast<std::size_t>(-1));

    /// Appends attribute `extract` of each element named `tag` (case
    /// ignored) that has every (name, value) of `select` (names ignore case,
    /// values compare exactly), in document order, up to `wanted`.
    static bool Attributes(std::string_view body, MarkupKind kind, const std::string& tag,
                           const std::string& extract,
                           const std::vector<std::pair<std::string, std::string>>& select,
                           std::vector<std::string>& values, std::string& error,
                           std::size_t wanted = static_cast<std::size_t>(-1));

    /// Bodies larger than this are not parsed.
    static constexpr std::size_t kMaxText = 32u << 20;
};
