#include "webstep/recording/ParameterContext.h"

#include "webstep/recording/ParameterFormat.h"

namespace {

// Parameters may point at each other ("Same line as"); the set breaks cycles,
// this only keeps a bad chain from recursing deeply.
constexpr int kMaxDepth = 32;

std::uint64_t Mix(std::uint64_t x) {
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// FNV-1a: the same on every platform, unlike std::hash.
std::uint64_t HashName(const std::string& name) {
    std::uint64_t h = 0xCBF29CE484222325ull;
    for (unsigned char c : name) {
        h ^= c;
        h *= 0x100000001B3ull;
    }
    return h;
}

// Whether text between braces can be a parameter name: letters, digits,
// "_", "-", "." and bytes of multi-byte characters. JSON, code and blanks
// between braces are not references and are not reported.
bool LooksLikeName(const std::string& name) {
    if (name.empty() || name.size() > 128)
        return false;
    for (unsigned char c : name) {
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '_' || c == '-' || c == '.' || c >= 0x80;
        if (!ok)
            return false;
    }
    return true;
}

}  // namespace

CParameterContext::CParameterContext(const CParameterSet& set, unsigned user, std::uint64_t seed,
                                     const MString& leftBrace, const MString& rightBrace)
    : m_set(set),
      m_user(user == 0 ? 1 : user),
      m_seed(seed),
      m_left(leftBrace.empty() ? MString("{") : leftBrace),
      m_right(rightBrace.empty() ? MString("}") : rightBrace),
      m_clock([] { return std::time(nullptr); }) {}

CParameterContext::~CParameterContext() {
    for (const auto& [name, state] : m_states) {
        if (state.claimOk)
            m_set.ReleaseBlock(name, m_user);
    }
}

void CParameterContext::BeginIteration(unsigned iteration) {
    m_iteration = iteration == 0 ? 1 : iteration;
}

void CParameterContext::SetClock(Clock clock, bool utc) {
    if (clock)
        m_clock = std::move(clock);
    m_utc = utc;
}

bool CParameterContext::Parametrize(const MString& value, MString& result, bool isDataDriven) {
    if (isDataDriven) {
        // The argument was recognised by "{" and "}"; with other braces the
        // folder does not treat that text as a reference.
        MString written = "{" + value + "}";
        if (m_left != "{" || m_right != "}") {
            result = Substitute(written);
        } else {
            MString resolved;
            result = Resolve(value, resolved, true, 0) ? resolved : written;
        }
    } else {
        result = Substitute(value);
    }
    return !m_aborted;
}

bool CParameterContext::AssignToParameter(const MString& name, const MString& value) {
    SaveParameter(name, value);
    return true;
}

MString CParameterContext::Substitute(const MString& text, UsedValues* used) {
    MString out;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t open = text.find(m_left, pos);
        if (open == MString::npos)
            break;
        std::size_t close = text.find(m_right, open + m_left.size());
        if (close == MString::npos)
            break;
        // "{{a}": the reference starts at the last opening brace before the
        // closing one.
        std::size_t last = text.rfind(m_left, close - m_left.size());
        if (last != MString::npos && last > open)
            open = last;
        std::size_t end = close + m_right.size();
        MString name = text.substr(open + m_left.size(), close - open - m_left.size());
        out.append(text, pos, open - pos);
        MString value;
        if (!name.empty() && Resolve(name, value, LooksLikeName(name), 0)) {
            out += value;
            if (used) {
                std::pair<MString, MString> entry(name, value);
                bool seen = false;
                for (const auto& e : *used)
                    seen = seen || e == entry;
                if (!seen)
                    used->push_back(std::move(entry));
            }
        } else {
            out.append(text, open, end - open);
        }
        pos = end;
    }
    out.append(text, pos, MString::npos);
    return out;
}

bool CParameterContext::Evaluate(const MString& name, MString& value) {
    return Resolve(name, value, true, 0);
}

void CParameterContext::SaveParameter(const MString& name, const MString& value) {
    m_saved[name] = value;
}

bool CParameterContext::GetSavedParameter(const MString& name, MString& value) const {
    auto it = m_saved.find(name);
    if (it == m_saved.end())
        return false;
    value = it->second;
    return true;
}

bool CParameterContext::RemoveParameter(const MString& name) {
    return m_saved.erase(name) != 0;
}

bool CParameterContext::IsDue(const CParameterDefinition& definition, const State& state) const {
    if (!state.hasValue)
        return true;
    switch (definition.update) {
        case CParameterDefinition::Update::Once:
            return false;
        case CParameterDefinition::Update::EachIteration:
            return state.iteration != m_iteration;
        case CParameterDefinition::Update::EachOccurrence:
            return true;
    }
    return true;
}

long long CParameterContext::DrawIndex(const CParameterDefinition& definition,
                                       const State& state) const {
    switch (definition.update) {
        case CParameterDefinition::Update::Once:
            return 0;
        case CParameterDefinition::Update::EachIteration:
            return static_cast<long long>(m_iteration) - 1;
        case CParameterDefinition::Update::EachOccurrence:
            return state.draws;
    }
    return 0;
}

long long CParameterContext::PolicyIndex(const CParameterDefinition& definition, State& state,
                                         long long n, long long count, bool& ok) {
    ok = true;
    if (n < count)
        return n;
    switch (definition.outOfRange) {
        case CParameterDefinition::OutOfRange::ContinueCyclic:
            return n % count;
        case CParameterDefinition::OutOfRange::ContinueWithLast:
            return count - 1;
        case CParameterDefinition::OutOfRange::AbortVuser:
            break;
    }
    ok = false;
    Abort(definition, definition.type == CParameterDefinition::Type::Unique
                          ? "its unique numbers"
                          : "the rows of its table");
    (void)state;
    return 0;
}

void CParameterContext::Abort(const CParameterDefinition& definition, const std::string& what) {
    if (!m_aborted) {
        AddFolderWarning(m_messages, definition.file, definition.line,
                         "user " + std::to_string(m_user) + " has used up " + what +
                             " for parameter \"" + definition.name + "\" in iteration " +
                             std::to_string(m_iteration) + " (AbortVuser): the user stops");
    }
    m_aborted = true;
}

void CParameterContext::NoteUnknown(const MString& name) {
    if (!m_unknownSet.insert(name).second)
        return;
    m_unknown.push_back(name);
    AddFolderNote(m_messages, m_set.FileName(), 0,
                  "no parameter is named \"" + name + "\"; its references stay as written");
}

void CParameterContext::Claim(const CParameterDefinition& definition, State& state) {
    if (state.claimed)
        return;
    state.claimed = true;
    state.claimOk = m_set.ClaimBlock(definition.name, m_user);
    if (!state.claimOk) {
        AddFolderWarning(m_messages, definition.file, definition.line,
                         "another user with the number " + std::to_string(m_user) +
                             " uses the unique values of parameter \"" + definition.name +
                             "\"; both get the same ones");
    }
}

std::uint64_t CParameterContext::NextRandom(const CParameterDefinition& definition, State& state) {
    if (!state.randomReady) {
        state.random = Mix(m_seed ^ Mix(HashName(definition.name)) ^ Mix(m_user));
        state.randomReady = true;
    }
    state.random += 0x9E3779B97F4A7C15ull;
    std::uint64_t z = state.random;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

long long CParameterContext::RandomBelow(const CParameterDefinition& definition, State& state,
                                         std::uint64_t bound) {
    if (bound == 0)
        return static_cast<long long>(NextRandom(definition, state));
    // Rejection keeps every value equally likely.
    std::uint64_t threshold = (0 - bound) % bound;
    while (true) {
        std::uint64_t r = NextRandom(definition, state);
        if (r >= threshold)
            return static_cast<long long>(r % bound);
    }
}

bool CParameterContext::ChooseRow(const CParameterDefinition& definition, State& state, int depth) {
    long long rows = static_cast<long long>(definition.table->RowCount());
    long long n = DrawIndex(definition, state);
    long long row = -1;
    bool ok = true;
    switch (definition.selection) {
        case CParameterDefinition::Selection::Sequential: {
            long long base = (definition.startRow - 1) % rows;
            row = PolicyIndex(definition, state, base + n, rows, ok);
            break;
        }
        case CParameterDefinition::Selection::Random:
            row = RandomBelow(definition, state, static_cast<std::uint64_t>(rows));
            break;
        case CParameterDefinition::Selection::Unique: {
            Claim(definition, state);
            CParameterSet::Block block = m_set.UniqueRows(definition, m_user);
            if (block.count > 0) {
                long long index =
                    PolicyIndex(definition, state, n, static_cast<long long>(block.count), ok);
                row = static_cast<long long>(block.first) + index;
                break;
            }
            if (!state.warned) {
                state.warned = true;
                AddFolderWarning(m_messages, definition.file, definition.line,
                                 "user " + std::to_string(m_user) + " has no rows of its own of " +
                                     definition.table->FileName() + " for parameter \"" +
                                     definition.name + "\" (" + std::to_string(rows) + " rows, " +
                                     std::to_string(m_set.UniqueRowsPerUser(definition)) +
                                     " per user)");
            }
            switch (definition.outOfRange) {
                case CParameterDefinition::OutOfRange::ContinueCyclic: {
                    unsigned long long r = static_cast<unsigned long long>(rows);
                    unsigned long long first = (static_cast<unsigned long long>(m_user - 1) % r) *
                                               (m_set.UniqueRowsPerUser(definition) % r) % r;
                    row = static_cast<long long>((first + static_cast<unsigned long long>(n) % r) %
                                                 r);
                    break;
                }
                case CParameterDefinition::OutOfRange::ContinueWithLast:
                    row = rows - 1;
                    break;
                case CParameterDefinition::OutOfRange::AbortVuser:
                    ok = false;
                    Abort(definition, "the rows of its table");
                    break;
            }
            break;
        }
        case CParameterDefinition::Selection::SameLineAs: {
            const CParameterDefinition* target = m_set.Find(definition.sameLineAs);
            if (!target || !target->table || target->table->RowCount() == 0 || depth >= kMaxDepth)
                return false;
            State& other = m_states[target->name];
            if (target->selection == CParameterDefinition::Selection::SameLineAs) {
                if (!ChooseRow(*target, other, depth + 1))
                    return false;
            } else if (other.row < 0 ||
                       (IsDue(*target, other) &&
                        target->update != CParameterDefinition::Update::EachOccurrence)) {
                // The other parameter draws the row it would draw now.
                MString ignored;
                if (!Resolve(target->name, ignored, false, depth + 1) || other.row < 0)
                    return false;
            }
            row = other.row % rows;
            state.row = row;
            return true;
        }
    }
    if (!ok)
        return false;
    state.row = row;
    return true;
}

bool CParameterContext::Resolve(const MString& name, MString& value, bool report, int depth) {
    auto saved = m_saved.find(name);
    if (saved != m_saved.end()) {
        value = saved->second;
        return true;
    }
    const CParameterDefinition* definition = m_set.Find(name);
    if (!definition) {
        if (report)
            NoteUnknown(name);
        return false;
    }
    const CParameterDefinition& d = *definition;
    using Type = CParameterDefinition::Type;
    switch (d.type) {
        case Type::Unknown:
        case Type::Output:
            return false;
        case Type::Userid:
            value = CParameterFormat::FormatInteger(d.format, m_user);
            return true;
        case Type::CurrentIteration:
            value = CParameterFormat::FormatInteger(d.format, m_iteration);
            return true;
        default:
            break;
    }
    if (d.type == Type::Custom && !d.UsesTable()) {
        value = d.originalValue;
        return true;
    }
    State& state = m_states[name];
    if (d.UsesTable()) {
        if (!d.table || d.column < 0 || d.table->RowCount() == 0)
            return false;
        if (d.selection == CParameterDefinition::Selection::SameLineAs) {
            if (!ChooseRow(d, state, depth))
                return false;
            value = d.table->Field(static_cast<std::size_t>(state.row),
                                   static_cast<std::size_t>(d.column));
            return true;
        }
    }
    if (IsDue(d, state)) {
        switch (d.type) {
            case Type::Table:
            case Type::Custom:
                if (!ChooseRow(d, state, depth))
                    return false;
                state.value = d.table->Field(static_cast<std::size_t>(state.row),
                                             static_cast<std::size_t>(d.column));
                break;
            case Type::Random: {
                std::uint64_t span = static_cast<std::uint64_t>(d.maxValue) -
                                     static_cast<std::uint64_t>(d.minValue) + 1;
                std::uint64_t offset = static_cast<std::uint64_t>(RandomBelow(d, state, span));
                long long number =
                    static_cast<long long>(static_cast<std::uint64_t>(d.minValue) + offset);
                state.value = CParameterFormat::FormatInteger(d.format, number);
                break;
            }
            case Type::Unique: {
                Claim(d, state);
                bool ok = true;
                long long index = PolicyIndex(d, state, DrawIndex(d, state), d.uniqueBlockSize, ok);
                if (!ok)
                    return false;
                long long number = static_cast<long long>(
                    static_cast<std::uint64_t>(CParameterSet::UniqueFirstNumber(d, m_user)) +
                    static_cast<std::uint64_t>(index));
                state.value = CParameterFormat::FormatInteger(d.format, number);
                break;
            }
            case Type::Time: {
                std::time_t now =
                    static_cast<std::time_t>(static_cast<unsigned long long>(m_clock()) +
                                             static_cast<unsigned long long>(d.offset));
                std::tm parts{};
                bool converted = m_utc ? gmtime_r(&now, &parts) != nullptr
                                       : localtime_r(&now, &parts) != nullptr;
                if (!converted)
                    return false;
                state.value = CParameterFormat::FormatTime(d.format, parts);
                break;
            }
            default:
                return false;
        }
        state.hasValue = true;
        state.iteration = m_iteration;
        ++state.draws;
    }
    value = state.value;
    return true;
}
