#include "Input.hpp"
#include "Scratch.hpp"
#include "unpack/Unpack.hpp"

using namespace kestrelune;
namespace fs = std::filesystem;

namespace {

constexpr unpack::Limits kLimits{.bytes = 1 << 20, .entries = 200};

/// Everything below a folder: inside it by every link, without special rights, and no more than was allowed.
void look(const fs::path& folder) {
  std::uintmax_t bytes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied)) {
    const fs::file_status status = entry.symlink_status();
    fuzz::require(fs::is_regular_file(status) || fs::is_directory(status) || fs::is_symlink(status),
                  "only plain kinds");
    if (fs::is_symlink(status)) {
      std::error_code loop;
      const fs::path end = fs::weakly_canonical(entry.path(), loop);
      fuzz::require(loop || end.string().starts_with(folder.string()), "a link stays inside");
      continue;
    }
    fuzz::require((status.permissions() & (fs::perms::set_uid | fs::perms::set_gid)) == fs::perms::none,
                  "no special rights");
    if (fs::is_regular_file(status)) bytes += entry.file_size();
  }
  fuzz::require(bytes <= static_cast<std::uintmax_t>(kLimits.bytes), "no more than was allowed");
}

}  // namespace

/// A release's archive.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::Scratch scratch;
  static const fs::path here = fs::current_path();
  scratch.clear();
  scratch.write("archive.zip", fuzz::text(data, size));
  fs::create_directory(scratch / "out");
  unpack::unpack(scratch / "archive.zip", scratch / "out", kLimits);
  fs::current_path(here);  // unpacking left it, and the fuzzer's own paths are relative
  look(scratch / "out");
  for (const auto& entry : fs::directory_iterator(scratch.path()))
    fuzz::require(entry.path().filename() == "out" || entry.path().filename() == "archive.zip", "nothing beside it");
  // A folder without the right to look into it must not keep the next run from clearing up.
  for (const auto& entry :
       fs::recursive_directory_iterator(scratch / "out", fs::directory_options::skip_permission_denied))
    if (fs::is_directory(entry.symlink_status())) fs::permissions(entry.path(), fs::perms::owner_all);
  return 0;
}
