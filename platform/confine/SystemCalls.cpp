#include "confine/SystemCalls.hpp"

#include <seccomp.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "base/Descriptor.hpp"

namespace kestrelune::calls {
namespace {

struct Free {
  void operator()(void* filter) const { seccomp_release(filter); }
};
using Context = std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, Free>;

/// What a newer C library may call and an older libseccomp doesn't know; such calls have one number everywhere.
constexpr std::pair<std::string_view, int> kNewer[] = {{"fchmodat2", 452}, {"mseal", 462}};

int numberOf(std::string_view call) {
  for (const auto& [name, number] : kNewer)
    if (name == call) return number;
  return seccomp_syscall_resolve_name(call.data());
}

int add(const Context& context, const Rule& rule) {
  const int number = numberOf(rule.call);
  if (number == __NR_SCMP_ERROR) return 0;
  const std::uint32_t action = rule.error == 0 ? SCMP_ACT_ALLOW : SCMP_ACT_ERRNO(static_cast<unsigned>(rule.error));
  if (!rule.when) return seccomp_rule_add(context.get(), action, number, 0);
  const auto& [argument, mask, value, other] = *rule.when;
  const scmp_arg_cmp compared =
      other ? scmp_arg_cmp{argument, SCMP_CMP_NE, value, 0} : scmp_arg_cmp{argument, SCMP_CMP_MASKED_EQ, mask, value};
  return seccomp_rule_add_array(context.get(), action, number, 1, &compared);
}

/// Empty, and an error number, where the library can't make it.
std::pair<Context, int> made(const Filter& filter) {
  Context context(seccomp_init(filter.endsAtOthers ? SCMP_ACT_KILL_PROCESS : SCMP_ACT_ALLOW));
  if (!context) return {nullptr, ENOMEM};
  // Calls by another processor's numbers would go around the rules.
  seccomp_attr_set(context.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS);
  for (const Rule& rule : filter.rules)
    if (const int result = add(context, rule); result != 0) return {nullptr, -result};
  return {std::move(context), 0};
}

}  // namespace

int load(const Filter& filter) {
  const auto [context, error] = made(filter);
  if (!context) return error;
  const int result = -seccomp_load(context.get());
  // The library's word for a kernel that refuses the call is ECANCELED; EINVAL and ENOSYS say that it has no filters.
  return result == EINVAL || result == ENOSYS ? 0 : result;
}

std::vector<sock_filter> compiled(const Filter& filter) {
  const auto [context, error] = made(filter);
  const Descriptor memory(memfd_create("filter", MFD_CLOEXEC));
  if (!context || !memory || seccomp_export_bpf(context.get(), memory.number()) != 0) return {};
  const off_t size = lseek(memory.number(), 0, SEEK_END);
  std::vector<sock_filter> program(static_cast<std::size_t>(size) / sizeof(sock_filter));
  const auto bytes = program.size() * sizeof(sock_filter);
  if (pread(memory.number(), program.data(), bytes, 0) != static_cast<ssize_t>(bytes)) return {};
  return program;
}

}  // namespace kestrelune::calls
