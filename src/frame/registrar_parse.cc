// Tokenizer and parser of registry scripts.
#include <cwctype>

#include "frame/registrar_parse.h"

namespace quillbox::frame {
namespace {

struct Token {
  std::u16string text;
  bool quoted = false;
};

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

// Words are separated by blanks; quoted strings use '' for a quote inside.
std::optional<std::vector<Token>> Tokenize(const std::u16string& text) {
  std::vector<Token> tokens;
  std::size_t i = 0;
  while (i < text.size()) {
    if (IsBlank(text[i])) {
      ++i;
      continue;
    }
    Token t;
    if (text[i] == u'\'') {
      t.quoted = true;
      ++i;
      for (;;) {
        if (i >= text.size()) return std::nullopt;  // unterminated
        if (text[i] == u'\'') {
          if (i + 1 < text.size() && text[i + 1] == u'\'') {
            t.text.push_back(u'\'');
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        t.text.push_back(text[i++]);
      }
    } else if (text[i] == u'=') {
      t.text = u"=";
      ++i;
    } else {
      while (i < text.size() && !IsBlank(text[i]) && text[i] != u'=' && text[i] != u'\'') {
        t.text.push_back(text[i++]);
      }
    }
    tokens.push_back(std::move(t));
  }
  return tokens;
}

std::u16string Replace(std::u16string text, const Replacements& replacements) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'%') {
      const std::size_t end = text.find(u'%', i + 1);
      if (end != std::u16string::npos) {
        auto it = replacements.find(text.substr(i + 1, end - i - 1));
        if (it != replacements.end()) {
          out += it->second;
          i = end;
          continue;
        }
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

bool SameWord(const Token& t, const char16_t* word) {
  if (t.quoted) return false;
  std::size_t i = 0;
  for (; word[i]; ++i) {
    if (i >= t.text.size() || std::towupper(t.text[i]) != std::towupper(word[i])) return false;
  }
  return i == t.text.size();
}

std::optional<HKEY> RootOf(const Token& t) {
  if (SameWord(t, u"HKCR") || SameWord(t, u"HKEY_CLASSES_ROOT")) return HKEY_CLASSES_ROOT;
  if (SameWord(t, u"HKCU") || SameWord(t, u"HKEY_CURRENT_USER")) return HKEY_CURRENT_USER;
  if (SameWord(t, u"HKLM") || SameWord(t, u"HKEY_LOCAL_MACHINE")) return HKEY_LOCAL_MACHINE;
  return std::nullopt;
}

class Parser {
 public:
  Parser(std::vector<Token> tokens, const Replacements& r) : tokens_(std::move(tokens)), replacements_(r) {}

  std::optional<std::vector<ScriptRoot>> Parse() {
    std::vector<ScriptRoot> roots;
    while (pos_ < tokens_.size()) {
      auto root = RootOf(tokens_[pos_++]);
      if (!root || !Expect(u"{")) return std::nullopt;
      ScriptRoot r{*root, {}};
      if (!ParseBody(&r.keys, nullptr, 0)) return std::nullopt;
      roots.push_back(std::move(r));
    }
    return roots;
  }

 private:
  static constexpr int kMaxDepth = 64;

  bool AtBrace(const char16_t* brace) const {
    return pos_ < tokens_.size() && !tokens_[pos_].quoted && tokens_[pos_].text == brace;
  }
  bool Expect(const char16_t* brace) {
    if (!AtBrace(brace)) return false;
    ++pos_;
    return true;
  }

  // `s 'text'` or `d 'number'` after an equals sign.
  bool ParseValue(ScriptValue* v) {
    if (!Expect(u"=") || pos_ + 1 >= tokens_.size()) return false;
    const Token& kind = tokens_[pos_++];
    const Token& data = tokens_[pos_++];
    if (SameWord(kind, u"s")) {
      v->text = Replace(data.text, replacements_);
      return true;
    }
    if (SameWord(kind, u"d")) {
      v->is_dword = true;
      try {
        v->number = static_cast<DWORD>(std::stoul(std::string(data.text.begin(), data.text.end()), nullptr, 0));
      } catch (...) {
        return false;
      }
      return true;
    }
    return false;
  }

  // Entries up to the closing brace.
  bool ParseBody(std::vector<ScriptKey>* keys, std::vector<ScriptValue>* values, int depth) {
    if (depth > kMaxDepth) return false;
    while (!AtBrace(u"}")) {
      if (pos_ >= tokens_.size()) return false;
      if (SameWord(tokens_[pos_], u"val")) {
        if (!values) return false;  // a root holds keys only
        ++pos_;
        if (pos_ >= tokens_.size()) return false;
        ScriptValue v;
        v.name = Replace(tokens_[pos_++].text, replacements_);
        if (!ParseValue(&v)) return false;
        values->push_back(std::move(v));
        continue;
      }
      ScriptKey key;
      if (SameWord(tokens_[pos_], u"NoRemove")) {
        key.marker = ScriptKey::Marker::kNoRemove;
        ++pos_;
      } else if (SameWord(tokens_[pos_], u"ForceRemove")) {
        key.marker = ScriptKey::Marker::kForceRemove;
        ++pos_;
      } else if (SameWord(tokens_[pos_], u"Delete")) {
        key.marker = ScriptKey::Marker::kDelete;
        ++pos_;
      }
      if (pos_ >= tokens_.size() || AtBrace(u"{") || AtBrace(u"}")) return false;
      key.name = Replace(tokens_[pos_++].text, replacements_);
      if (key.name.empty()) return false;
      if (AtBrace(u"=")) {
        ScriptValue v;
        if (!ParseValue(&v)) return false;
        key.default_value = std::move(v);
      }
      if (AtBrace(u"{")) {
        ++pos_;
        if (!ParseBody(&key.children, &key.values, depth + 1)) return false;
      }
      keys->push_back(std::move(key));
    }
    ++pos_;  // the closing brace
    return true;
  }

  std::vector<Token> tokens_;
  const Replacements& replacements_;
  std::size_t pos_ = 0;
};

}  // namespace

std::optional<std::vector<ScriptRoot>> ParseRegistryScript(const char16_t* script,
                                                           const Replacements& replacements) {
  if (!script) return std::nullopt;
  auto tokens = Tokenize(script);
  if (!tokens) return std::nullopt;
  return Parser(std::move(*tokens), replacements).Parse();
}

}  // namespace quillbox::frame
