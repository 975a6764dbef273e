// Running and installed applications of the scripted desktop.
#include "support/desktop/desktop.h"

namespace orvo::test {
namespace {

class ScriptedRunningApplication final : public platform::RunningApplication {
  public:
    ScriptedRunningApplication(Desktop& desktop, int32_t pid) : desktop_(desktop), pid_(pid) {}

    int32_t processIdentifier() override { return pid_; }
    bool canBeAsked() override { return desktop_.gate.enter("canBeAsked"); }
    std::string localizedName() override { return read("name", &ScriptedApplication::name); }
    std::string bundleIdentifier() override { return read("bundle", &ScriptedApplication::bundleIdentifier); }
    std::optional<platform::Picture> icon() override { return read("icon", &ScriptedApplication::icon); }
    bool isActive() override { return read("isActive", &ScriptedApplication::active); }
    bool isHidden() override { return read("isHidden", &ScriptedApplication::hidden); }
    bool isTerminated() override { return !desktop_.gate.enter("isTerminated") || !found(); }
    bool activate(platform::Activation how) override {
        const bool all = how == platform::Activation::allWindows;
        return order(all ? "activate all" : "activate", [this] { desktop_.activateApplication(pid_); });
    }
    bool hide() override {
        return order("hide", [this] { found()->hidden = true; });
    }
    bool unhide() override {
        return order("unhide", [this] { found()->hidden = false; });
    }
    bool terminate() override {
        return order("terminate", [this] { desktop_.quitApplication(pid_); });
    }
    bool forceTerminate() override {
        return order("force terminate", [this] { desktop_.quitApplication(pid_); });
    }

  private:
    ScriptedApplication* found() { return desktop_.application(static_cast<uint32_t>(pid_)); }
    template <typename T>
    T read(const char* call, T ScriptedApplication::*member) {
        return desktop_.gate.pass(call, [&] { return found() ? found()->*member : T{}; });
    }
    template <typename Effect>
    bool order(const std::string& what, Effect effect) {
        if (!desktop_.gate.enter("order") || !found()) return false;
        desktop_.gate.record(kOrders, what + " " + std::to_string(pid_));
        effect();
        return true;
    }

    Desktop& desktop_;
    const int32_t pid_;
};

class ScriptedWorkspace final : public platform::Workspace {
  public:
    explicit ScriptedWorkspace(Desktop& desktop) : desktop_(desktop) {}

    std::vector<std::shared_ptr<platform::RunningApplication>> runningApplications() override {
        auto pass = desktop_.gate.enter("runningApplications");
        std::vector<std::shared_ptr<platform::RunningApplication>> list;
        for (const auto& application : desktop_.applications) list.push_back(running(application.pid));
        return pass ? list : decltype(list)();
    }
    std::shared_ptr<platform::RunningApplication> application(int32_t pid) override {
        return desktop_.gate.enter("application") && desktop_.application(static_cast<uint32_t>(pid)) ? running(pid)
                                                                                                      : nullptr;
    }
    std::optional<std::string> fullPathForApplication(const std::string& name) override {
        return find("fullPathForApplication", desktop_.installed, name);
    }
    std::optional<platform::Picture> iconForFile(const std::string& path) override {
        return find("iconForFile", desktop_.files, path);
    }

  private:
    std::shared_ptr<platform::RunningApplication> running(int32_t pid) {
        return std::make_shared<ScriptedRunningApplication>(desktop_, pid);
    }
    template <typename Value>
    std::optional<Value> find(const char* call, const std::map<std::string, Value>& values, const std::string& key) {
        auto pass = desktop_.gate.enter(call);
        const auto found = values.find(key);
        return pass && found != values.end() ? std::optional(found->second) : std::nullopt;
    }

    Desktop& desktop_;
};

}  // namespace

std::unique_ptr<platform::Workspace> makeScriptedWorkspace(Desktop& desktop) {
    return std::make_unique<ScriptedWorkspace>(desktop);
}

}  // namespace orvo::test
