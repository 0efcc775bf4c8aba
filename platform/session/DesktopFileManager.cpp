#include "session/DesktopFileManager.hpp"

#include <systemd/sd-bus.h>

#include <utility>

namespace kestrelune {
namespace {

constexpr const char* kName = "org.freedesktop.FileManager1";
constexpr const char* kPath = "/org/freedesktop/FileManager1";
constexpr double kPatience = 5;

}  // namespace

void DesktopFileManager::show(const Url& file, std::function<void(bool)> answer) {
  BusMessage message = bus_.makeCall(kName, kPath, kName, "ShowItems");
  if (message) sd_bus_message_append(message.get(), "ass", 1, file.text().c_str(), "");
  const auto call = calls_.emplace(calls_.end());
  *call = bus_.call(std::move(message), kPatience, [this, call, answer = std::move(answer)](sd_bus_message* reply) {
    const bool shown = reply && !sd_bus_message_is_method_error(reply, nullptr);
    const std::unique_ptr<Subscription> done = std::move(*call);
    calls_.erase(call);
    answer(shown);
  });
}

}  // namespace kestrelune
