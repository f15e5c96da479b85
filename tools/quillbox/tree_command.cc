// tree and ls: the elements of a document (or of one storage in it), as
// aligned text or as JSON.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

#include "commands.h"
#include "date_text.h"
#include "document.h"
#include "element_walk.h"
#include "json_output.h"

namespace quillbox::tool {
namespace {

struct ListOptions {
  std::string file;
  std::string path;
  bool json = false;
};

// Characters on screen, not bytes: UTF-8 continuation bytes do not count.
size_t Width(const std::string& text) {
  size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80 ? 1 : 0;
  return n;
}

constexpr size_t kDateWidth = 19;  // YYYY-MM-DDTHH:MM:SS

std::string PadRight(const std::string& text, size_t width) {
  return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

struct Row {
  std::string name;  // indented
  const Element* element;
};

void Flatten(const Element& element, int depth, std::vector<Row>* rows) {
  rows->push_back({std::string(static_cast<size_t>(depth) * 2, ' ') + DisplayName(element.name), &element});
  for (const auto& child : element.children) Flatten(child, depth + 1, rows);
}

// One line per element: name, kind, a stream's size, a storage's times and
// class id ("-" for a time never set).
void PrintRows(const std::vector<Row>& rows) {
  size_t name_width = 0;
  size_t size_width = 1;
  for (const auto& row : rows) {
    name_width = std::max(name_width, Width(row.name));
    if (!row.element->is_storage) size_width = std::max(size_width, std::to_string(row.element->size).size());
  }
  for (const auto& row : rows) {
    const Element& e = *row.element;
    std::string line = row.name + std::string(name_width - Width(row.name) + 2, ' ');
    if (e.is_storage) {
      const std::string created = DateText(e.created).value_or("-");
      const std::string modified = DateText(e.modified).value_or("-");
      line += "storage  " + std::string(size_width, ' ') + "  created " + PadRight(created, kDateWidth) +
              "  modified ";
      line += e.clsid.empty() ? modified : PadRight(modified, kDateWidth) + "  clsid " + ToUtf8(e.clsid);
    } else {
      const std::string size = std::to_string(e.size);
      line += "stream   " + std::string(size_width - size.size(), ' ') + size;
    }
    std::printf("%s\n", line.c_str());
  }
}

nlohmann::ordered_json DateJson(DATE date) {
  const auto text = DateText(date);
  return text ? nlohmann::ordered_json(*text) : nlohmann::ordered_json(nullptr);
}

// The object of one element; storages carry their children when asked.
nlohmann::ordered_json ToJson(const Element& e, bool with_children) {
  nlohmann::ordered_json out = {
      {"name", ToUtf8(e.name)},
      {"type", e.is_storage ? "storage" : "stream"},
      {"size", e.is_storage ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(e.size)},
      {"created", e.is_storage ? DateJson(e.created) : nlohmann::ordered_json(nullptr)},
      {"modified", e.is_storage ? DateJson(e.modified) : nlohmann::ordered_json(nullptr)},
      {"clsid", e.clsid.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(ToUtf8(e.clsid))},
  };
  if (e.is_storage && with_children) {
    out["children"] = nlohmann::ordered_json::array();
    for (const auto& child : e.children) out["children"].push_back(ToJson(child, true));
  }
  return out;
}

Status Describe(const ListOptions& options, int levels, Element* element) {
  ElementPath path;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  Document document;
  if (Status s = document.Open(options.file, Access::kReadOnly); !s.ok()) return s;
  ComPtr<_Storage> storage;
  if (Status s = FindStorage(document.root(), path, path.size(), false, &storage); !s.ok()) return s;
  return DescribeStorage(storage.get(), levels, element);
}

Status Tree(const ListOptions& options) {
  Element root;
  if (Status s = Describe(options, kAllLevels, &root); !s.ok()) return s;
  if (options.json) {
    PrintJson(ToJson(root, true));
  } else {
    std::vector<Row> rows;
    Flatten(root, 0, &rows);
    PrintRows(rows);
  }
  return Status::Ok();
}

Status List(const ListOptions& options) {
  Element storage;
  if (Status s = Describe(options, 1, &storage); !s.ok()) return s;
  if (options.json) {
    nlohmann::ordered_json out = nlohmann::ordered_json::array();
    for (const auto& child : storage.children) out.push_back(ToJson(child, false));
    PrintJson(out);
  } else {
    std::vector<Row> rows;
    for (const auto& child : storage.children) rows.push_back({DisplayName(child.name), &child});
    PrintRows(rows);
  }
  return Status::Ok();
}

void AddFileAndPath(CLI::App* cmd, ListOptions* options, const char* path_help) {
  cmd->add_option("FILE", options->file, "The compound document (opened read-only)")->required();
  cmd->add_option("PATH", options->path, path_help);
  cmd->add_flag("--json", options->json, "Print JSON instead of text (see docs/tool.md for the schema)");
}

}  // namespace

void AddTreeCommands(CLI::App& app) {
  auto tree_options = std::make_shared<ListOptions>();
  auto* tree = app.add_subcommand(
      "tree",
      "Print every storage and stream below PATH (default: the root), indented: a stream's size in bytes, "
      "a storage's creation and modification times (local time, \"-\" when never set) and class id");
  AddFileAndPath(tree, tree_options.get(), "The storage to start from, names joined by '/' (default: the root)");
  tree->callback([tree_options] { Run([&] { return Tree(*tree_options); }); });

  auto ls_options = std::make_shared<ListOptions>();
  auto* ls = app.add_subcommand("ls", "List the storages and streams directly inside one storage");
  AddFileAndPath(ls, ls_options.get(), "The storage to list, names joined by '/' (default: the root)");
  ls->callback([ls_options] { Run([&] { return List(*ls_options); }); });
}

}  // namespace quillbox::tool
