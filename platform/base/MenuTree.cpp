#include "base/MenuTree.hpp"

#include "base/ViewFields.hpp"

namespace kestrelune {
namespace {

constexpr int kDeepestMenu = 8;

}  // namespace

Json toJson(const MenuTree& menu) { return jsonFields::Writer::encode(const_cast<MenuTree&>(menu)); }

MenuTree menuFromJson(const Json& json) {
  const Json::Array* rows = json.array();
  if (!rows) throw JsonError("expected an array");
  MenuTree menu;
  menu.reserve(rows->size());
  for (const Json& row : *rows) jsonFields::read(row, menu.emplace_back(), kDeepestMenu - 1);
  return menu;
}

}  // namespace kestrelune
