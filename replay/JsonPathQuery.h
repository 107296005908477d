#pragma once
// JSONPath queries on JSON texts, for web_reg_save_param_json.
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "webstep/foundation/Export.h"

/// A compiled JSONPath: "$" then member steps (.name, ['name'], .*),
/// element steps ([n], [-n], [*], [a,b], [start:end:step]), descent (..name,
/// ..*, ..[n]) and filters [?(...)] comparing @-paths with literals
/// (==, !=, <, <=, >, >=; &&, ||, !, parentheses; @.x alone tests presence).
/// Selected strings come out as their text, other values as compact JSON.
class WEBSTEP_API CJsonPathQuery {
public:
    CJsonPathQuery();
    ~CJsonPathQuery();
    CJsonPathQuery(const CJsonPathQuery&);
    CJsonPathQuery& operator=(const CJsonPathQuery&);

    /// False with a message naming the position when the path is malformed.
    bool Compile(const std::string& path, std::string& error);
    /// Appends what the path selects in json, in document order, up to
    /// `wanted` values. False when json is not a JSON text (error says why)
    /// or nothing is compiled.
    bool Evaluate(std::string_view json, std::vector<std::string>& values, std::string& error,
                  std::size_t wanted = static_cast<std::size_t>(-1)) const;

    /// Bodies larger than this are not parsed.
    static constexpr std::size_t kMaxText = 64u << 20;

    struct Path;

private:
    std::shared_ptr<const Path> m_Path;
};
