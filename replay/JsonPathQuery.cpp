#include "webstep/replay/JsonPathQuery.h"

#include <cctype>
#include <cstdlib>
#include <nlohmann/json.hpp>

using json = nlohmann::json;

namespace {

// Deeper documents are refused before parsing: comparing and printing
// values recurse, so the depth they see is bounded here.
constexpr int kMaxDepth = 1000;
// Filters nest; a path deeper than this is refused as malformed.
constexpr int kMaxFilterDepth = 32;
constexpr std::size_t kMaxPathLength = 4096;

struct Expr;

struct Selector {
    enum Kind { Name, Wildcard, Index, Slice, Union, Filter } kind = Name;
    std::string name;
    long index = 0;
    bool hasStart = false, hasEnd = false;
    long start = 0, end = 0, step = 1;
    std::vector<Selector> items;  // Union: names and indices
    std::shared_ptr<Expr> filter;
};

struct Segment {
    bool descendant = false;
    Selector selector;
};

struct Operand {
    bool isPath = false;
    bool absolute = false;  // "$..." inside a filter
    std::vector<Segment> path;
    json literal;
};

struct Expr {
    enum Op { Or, And, Not, Compare, Exists } op = Exists;
    std::shared_ptr<Expr> a, b;
    Operand left, right;
    std::string comparison;
};

// Recursive descent over the path text.
class PathParser {
public:
    explicit PathParser(const std::string& text) : m_Text(text) {}

    bool ParseRoot(std::vector<Segment>& segments, std::string& error) {
        SkipSpaces();
        if (!Eat('$'))
            return Fail("a JSONPath starts with '$'", error);
        if (!ParseSegments(segments, false, 0, error))
            return false;
        SkipSpaces();
        if (m_Pos != m_Text.size())
            return Fail("unexpected text", error);
        return true;
    }

private:
    bool Fail(const std::string& what, std::string& error) {
        if (error.empty())
            error = what + " at position " + std::to_string(m_Pos + 1) + " of \"" + m_Text + "\"";
        return false;
    }
    void SkipSpaces() {
        while (m_Pos < m_Text.size() && std::isspace(static_cast<unsigned char>(m_Text[m_Pos])))
            ++m_Pos;
    }
    bool Eat(char c) {
        if (m_Pos < m_Text.size() && m_Text[m_Pos] == c) {
            ++m_Pos;
            return true;
        }
        return false;
    }
    char Peek(std::size_t ahead = 0) const {
        return m_Pos + ahead < m_Text.size() ? m_Text[m_Pos + ahead] : '\0';
    }
    static bool IsNameChar(char c, bool inFilter) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (u >= 0x80 || std::isalnum(u) || c == '_' || c == '-' || c == '$' || c == ':')
            return true;
        // Outside filters a name may hold other punctuation too.
        return !inFilter && c != '.' && c != '[' && c != '\0' && !std::isspace(u) && c != ']';
    }

    bool ParseName(std::string& name, bool inFilter, std::string& error) {
        const std::size_t start = m_Pos;
        while (m_Pos < m_Text.size() && IsNameChar(m_Text[m_Pos], inFilter))
            ++m_Pos;
        if (m_Pos == start)
            return Fail("a member name was expected", error);
        name = m_Text.substr(start, m_Pos - start);
        return true;
    }

    bool ParseSegments(std::vector<Segment>& segments, bool inFilter, int depth,
                       std::string& error) {
        for (;;) {
            if (Peek() == '.' && Peek(1) == '.') {
                m_Pos += 2;
                Segment segment;
                segment.descendant = true;
                if (Eat('*')) {
                    segment.selector.kind = Selector::Wildcard;
                } else if (Peek() == '[') {
                    ++m_Pos;
                    if (!ParseBracket(segment.selector, depth, error))
                        return false;
                } else if (!ParseName(segment.selector.name, inFilter, error)) {
                    return false;
                }
                segments.push_back(std::move(segment));
            } else if (Eat('.')) {
                Segment segment;
                if (Eat('*'))
                    segment.selector.kind = Selector::Wildcard;
                else if (!ParseName(segment.selector.name, inFilter, error))
                    return false;
                segments.push_back(std::move(segment));
            } else if (Eat('[')) {
                Segment segment;
                if (!ParseBracket(segment.selector, depth, error))
                    return false;
                segments.push_back(std::move(segment));
            } else {
                return true;
            }
        }
    }

    bool ParseQuoted(std::string& out, std::string& error) {
        const char quote = m_Text[m_Pos++];
        while (m_Pos < m_Text.size() && m_Text[m_Pos] != quote) {
            if (m_Text[m_Pos] == '\\' && m_Pos + 1 < m_Text.size())
                ++m_Pos;
            out.push_back(m_Text[m_Pos++]);
        }
        if (!Eat(quote))
            return Fail("a closing quote was expected", error);
        return true;
    }

    bool ParseInteger(long& value, std::string& error) {
        SkipSpaces();
        const std::size_t start = m_Pos;
        if (Peek() == '-' || Peek() == '+')
            ++m_Pos;
        while (std::isdigit(static_cast<unsigned char>(Peek())))
            ++m_Pos;
        if (m_Pos == start ||
            (m_Pos == start + 1 && !std::isdigit(static_cast<unsigned char>(m_Text[start]))))
            return Fail("a number was expected", error);
        if (m_Pos - start > 15)
            return Fail("a number too long", error);
        value = std::strtol(m_Text.c_str() + start, nullptr, 10);
        SkipSpaces();
        return true;
    }

    // After '['.
    bool ParseBracket(Selector& selector, int depth, std::string& error) {
        SkipSpaces();
        if (Eat('?')) {
            if (depth >= kMaxFilterDepth)
                return Fail("filters nested too deeply", error);
            SkipSpaces();
            const bool paren = Eat('(');
            selector.kind = Selector::Filter;
            selector.filter = std::make_shared<Expr>();
            if (!ParseOr(*selector.filter, depth + 1, error))
                return false;
            SkipSpaces();
            if (paren && !Eat(')'))
                return Fail("')' was expected", error);
            SkipSpaces();
            return Eat(']') || Fail("']' was expected", error);
        }
        if (Eat('*')) {
            SkipSpaces();
            selector.kind = Selector::Wildcard;
            return Eat(']') || Fail("']' was expected", error);
        }
        std::vector<Selector> items;
        for (;;) {
            SkipSpaces();
            Selector item;
            if (Peek() == '\'' || Peek() == '"') {
                item.kind = Selector::Name;
                if (!ParseQuoted(item.name, error))
                    return false;
                SkipSpaces();
            } else if (Peek() == ':' || Peek() == '-' || Peek() == '+' ||
                       std::isdigit(static_cast<unsigned char>(Peek()))) {
                item.kind = Selector::Index;
                if (Peek() != ':') {
                    if (!ParseInteger(item.index, error))
                        return false;
                    item.start = item.index;
                    item.hasStart = true;
                }
                if (Eat(':')) {
                    item.kind = Selector::Slice;
                    SkipSpaces();
                    if (Peek() != ':' && Peek() != ']' && Peek() != ',') {
                        if (!ParseInteger(item.end, error))
                            return false;
                        item.hasEnd = true;
                    }
                    if (Eat(':')) {
                        SkipSpaces();
                        if (Peek() != ']' && Peek() != ',' && !ParseInteger(item.step, error))
                            return false;
                        if (item.step == 0)
                            return Fail("a slice step of 0", error);
                    }
                }
            } else {
                return Fail("a name, index, slice, '*' or filter was expected", error);
            }
            items.push_back(std::move(item));
            SkipSpaces();
            if (Eat(','))
                continue;
            if (Eat(']'))
                break;
            return Fail("']' was expected", error);
        }
        if (items.size() == 1) {
            selector = std::move(items.front());
        } else {
            selector.kind = Selector::Union;
            selector.items = std::move(items);
        }
        return true;
    }

    // "||" and "&&" chains, left to right: operands come from next.
    template <class Next>
    bool ParseChain(Expr& expr, char symbol, Expr::Op op, Next next) {
        Expr left;
        if (!next(left))
            return false;
        SkipSpaces();
        while (Peek() == symbol && Peek(1) == symbol) {
            m_Pos += 2;
            Expr right;
            if (!next(right))
                return false;
            Expr joined;
            joined.op = op;
            joined.a = std::make_shared<Expr>(std::move(left));
            joined.b = std::make_shared<Expr>(std::move(right));
            left = std::move(joined);
            SkipSpaces();
        }
        expr = std::move(left);
        return true;
    }

    bool ParseOr(Expr& expr, int depth, std::string& error) {
        return ParseChain(expr, '|', Expr::Or,
                          [&](Expr& operand) { return ParseAnd(operand, depth, error); });
    }

    bool ParseAnd(Expr& expr, int depth, std::string& error) {
        return ParseChain(expr, '&', Expr::And,
                          [&](Expr& operand) { return ParseUnary(operand, depth, error); });
    }

    bool ParseUnary(Expr& expr, int depth, std::string& error) {
        SkipSpaces();
        if (depth > kMaxFilterDepth)
            return Fail("a filter nested too deeply", error);
        if (Peek() == '!' && Peek(1) != '=') {
            ++m_Pos;
            expr.op = Expr::Not;
            expr.a = std::make_shared<Expr>();
            return ParseUnary(*expr.a, depth + 1, error);
        }
        if (Eat('(')) {
            if (!ParseOr(expr, depth + 1, error))
                return false;
            SkipSpaces();
            return Eat(')') || Fail("')' was expected", error);
        }
        if (!ParseOperand(expr.left, depth, error))
            return false;
        SkipSpaces();
        static const char* const kOperators[] = {"==", "!=", "<=", ">=", "<", ">"};
        for (const char* op : kOperators) {
            const std::size_t n = std::char_traits<char>::length(op);
            if (m_Text.compare(m_Pos, n, op) == 0) {
                m_Pos += n;
                expr.op = Expr::Compare;
                expr.comparison = op;
                return ParseOperand(expr.right, depth, error);
            }
        }
        expr.op = Expr::Exists;
        return true;
    }

    bool ParseOperand(Operand& operand, int depth, std::string& error) {
        SkipSpaces();
        if (Peek() == '@' || Peek() == '$') {
            operand.isPath = true;
            operand.absolute = Peek() == '$';
            ++m_Pos;
            return ParseSegments(operand.path, true, depth, error);
        }
        if (Peek() == '\'' || Peek() == '"') {
            std::string text;
            if (!ParseQuoted(text, error))
                return false;
            operand.literal = text;
            return true;
        }
        static const std::pair<const char*, json> kWords[] = {
            {"true", json(true)}, {"false", json(false)}, {"null", json(nullptr)}};
        for (const auto& [word, value] : kWords) {
            const std::size_t n = std::char_traits<char>::length(word);
            if (m_Text.compare(m_Pos, n, word) == 0) {
                m_Pos += n;
                operand.literal = value;
                return true;
            }
        }
        const char* begin = m_Text.c_str() + m_Pos;
        char* end = nullptr;
        const double number = std::strtod(begin, &end);
        if (end == begin)
            return Fail("a path, string, number, true, false or null was expected", error);
        m_Pos += static_cast<std::size_t>(end - begin);
        if (number == static_cast<double>(static_cast<long long>(number)) &&
            std::string(begin, static_cast<const char*>(end)).find_first_of(".eE") ==
                std::string::npos)
            operand.literal = static_cast<long long>(number);
        else
            operand.literal = number;
        return true;
    }

    const std::string& m_Text;
    std::size_t m_Pos = 0;
};

using Nodes = std::vector<const json*>;

Nodes Select(const std::vector<Segment>& path, const json& start, const json& root);

bool Truthy(const json& value) {
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_null())
        return false;
    if (value.is_number())
        return value.get<double>() != 0;
    if (value.is_string())
        return !value.get_ref<const std::string&>().empty();
    return true;
}

const json* OperandValue(const Operand& operand, const json& current, const json& root) {
    if (!operand.isPath)
        return &operand.literal;
    Nodes nodes = Select(operand.path, operand.absolute ? root : current, root);
    return nodes.empty() ? nullptr : nodes.front();
}

bool Compare(const json& a, const json& b, const std::string& op) {
    if (op == "==")
        return a == b;
    if (op == "!=")
        return a != b;
    if (a.is_number() && b.is_number()) {
        const double x = a.get<double>(), y = b.get<double>();
        return op == "<" ? x < y : op == "<=" ? x <= y : op == ">" ? x > y : x >= y;
    }
    if (a.is_string() && b.is_string()) {
        const auto& x = a.get_ref<const std::string&>();
        const auto& y = b.get_ref<const std::string&>();
        return op == "<" ? x < y : op == "<=" ? x <= y : op == ">" ? x > y : x >= y;
    }
    return false;
}

bool Test(const Expr& expr, const json& current, const json& root) {
    switch (expr.op) {
        case Expr::Or:
            return Test(*expr.a, current, root) || Test(*expr.b, current, root);
        case Expr::And:
            return Test(*expr.a, current, root) && Test(*expr.b, current, root);
        case Expr::Not:
            return !Test(*expr.a, current, root);
        case Expr::Exists:
            if (expr.left.isPath)
                return !Select(expr.left.path, expr.left.absolute ? root : current, root).empty();
            return Truthy(expr.left.literal);
        case Expr::Compare: {
            const json* a = OperandValue(expr.left, current, root);
            const json* b = OperandValue(expr.right, current, root);
            // A path that selects nothing makes every comparison false.
            return a != nullptr && b != nullptr && Compare(*a, *b, expr.comparison);
        }
    }
    return false;
}

void ApplySelector(const Selector& selector, const json& node, const json& root, Nodes& out) {
    switch (selector.kind) {
        case Selector::Name:
            if (node.is_object()) {
                auto it = node.find(selector.name);
                if (it != node.end())
                    out.push_back(&*it);
            }
            return;
        case Selector::Wildcard:
            if (node.is_structured())
                for (const json& child : node)
                    out.push_back(&child);
            return;
        case Selector::Index:
            if (node.is_array()) {
                const long size = static_cast<long>(node.size());
                const long at = selector.index < 0 ? size + selector.index : selector.index;
                if (at >= 0 && at < size)
                    out.push_back(&node[static_cast<std::size_t>(at)]);
            }
            return;
        case Selector::Slice: {
            if (!node.is_array())
                return;
            const long size = static_cast<long>(node.size());
            auto clamp = [size](long value, long low, long high) {
                if (value < 0)
                    value += size;
                return value < low ? low : value > high ? high : value;
            };
            if (selector.step > 0) {
                const long from = selector.hasStart ? clamp(selector.start, 0, size) : 0;
                const long to = selector.hasEnd ? clamp(selector.end, 0, size) : size;
                for (long i = from; i < to; i += selector.step)
                    out.push_back(&node[static_cast<std::size_t>(i)]);
            } else {
                const long from =
                    selector.hasStart ? clamp(selector.start, -1, size - 1) : size - 1;
                const long to = selector.hasEnd ? clamp(selector.end, -1, size - 1) : -1;
                for (long i = from; i > to; i += selector.step)
                    out.push_back(&node[static_cast<std::size_t>(i)]);
            }
            return;
        }
        case Selector::Union:
            for (const Selector& item : selector.items)
                ApplySelector(item, node, root, out);
            return;
        case Selector::Filter:
            // Applies to the elements of an array or the member values of an
            // object.
            if (node.is_structured())
                for (const json& child : node)
                    if (Test(*selector.filter, child, root))
                        out.push_back(&child);
            return;
    }
}

// The node and every value below it, in document order, without recursion.
void Descendants(const json& node, Nodes& out) {
    std::vector<const json*> stack{&node};
    while (!stack.empty()) {
        const json* current = stack.back();
        stack.pop_back();
        out.push_back(current);
        if (current->is_structured()) {
            std::vector<const json*> children;
            for (const json& child : *current)
                children.push_back(&child);
            for (auto it = children.rbegin(); it != children.rend(); ++it)
                stack.push_back(*it);
        }
    }
}

Nodes Select(const std::vector<Segment>& path, const json& start, const json& root) {
    Nodes current{&start};
    for (const Segment& segment : path) {
        Nodes next;
        for (const json* node : current) {
            if (segment.descendant) {
                Nodes below;
                Descendants(*node, below);
                for (const json* each : below)
                    ApplySelector(segment.selector, *each, root, next);
            } else {
                ApplySelector(segment.selector, *node, root, next);
            }
        }
        current = std::move(next);
        if (current.empty())
            break;
    }
    return current;
}

// Nesting depth of a JSON text, strings skipped; stops counting past limit.
int NestingDepth(std::string_view text, int limit) {
    int depth = 0, deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > deepest && (deepest = depth) > limit)
                return deepest;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return deepest;
}

}  // namespace

struct CJsonPathQuery::Path {
    std::vector<Segment> segments;
};

CJsonPathQuery::CJsonPathQuery() = default;
CJsonPathQuery::~CJsonPathQuery() = default;
CJsonPathQuery::CJsonPathQuery(const CJsonPathQuery&) = default;
CJsonPathQuery& CJsonPathQuery::operator=(const CJsonPathQuery&) = default;

bool CJsonPathQuery::Compile(const std::string& path, std::string& error) {
    m_Path.reset();
    if (path.size() > kMaxPathLength) {
        error = "a JSONPath of " + std::to_string(path.size()) + " bytes is longer than " +
                std::to_string(kMaxPathLength);
        return false;
    }
    auto compiled = std::make_shared<Path>();
    PathParser parser(path);
    if (!parser.ParseRoot(compiled->segments, error))
        return false;
    m_Path = std::move(compiled);
    return true;
}

bool CJsonPathQuery::Evaluate(std::string_view text, std::vector<std::string>& values,
                              std::string& error, std::size_t wanted) const {
    if (!m_Path) {
        error = "no JSONPath compiled";
        return false;
    }
    if (text.size() > kMaxText) {
        error = "a body of " + std::to_string(text.size()) + " bytes is larger than the " +
                std::to_string(kMaxText) + " bytes a JSON query reads";
        return false;
    }
    // No JSON text holds a raw NUL byte; the parser would stop at one and
    // take what came before for the whole document.
    if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
        error = "not JSON: a NUL byte at offset " + std::to_string(nul);
        return false;
    }
    if (NestingDepth(text, kMaxDepth) > kMaxDepth) {
        error = "JSON nested deeper than " + std::to_string(kMaxDepth) + " levels";
        return false;
    }
    json document;
    try {
        document = json::parse(text.begin(), text.end());
    } catch (const json::exception& e) {
        error = std::string("not JSON: ") + e.what();
        return false;
    }
    const Nodes nodes = Select(m_Path->segments, document, document);
    for (const json* node : nodes) {
        if (values.size() >= wanted)
            break;
        if (node->is_string())
            values.push_back(node->get<std::string>());
        else
            values.push_back(node->dump(-1, ' ', false, json::error_handler_t::replace));
    }
    return true;
}
