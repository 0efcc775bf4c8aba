#include "base/View.hpp"

#include "base/ViewFields.hpp"

namespace kestrelune {
namespace {

constexpr int kDeepestView = 64;

}  // namespace

Json toJson(const View& view) { return jsonFields::write(view); }

View viewFromJson(const Json& json) {
  View view;
  jsonFields::read(json, view, kDeepestView);
  return view;
}

const View* findView(const View& root, std::string_view key) {
  if (root.key == key) return &root;
  for (const View& child : root.children) {
    if (const View* found = findView(child, key)) return found;
  }
  return nullptr;
}

}  // namespace kestrelune
