// Running and installed applications of the scripted desktop.
#include "support/desktop/desktop.h"
#include "support/desktop/services.h"

namespace orvo::test {
namespace {

class ScriptedRunningApplication final : public platform::RunningApplication {
  public:
    ScriptedRunningApplication(Desktop& desktop, int32_t pid) : desktop_(desktop), pid_(pid) {}

    int32_t processIdentifier() override { return pid_; }
    bool canBeAsked() override { return static_cast<bool>(desktop_.gate.enter("canBeAsked")); }
    std::string localizedName() override { return read("name", &ScriptedApplication::name); }
    std::string bundleIdentifier() override { return read("bundle", &ScriptedApplication::bundleIdentifier); }
    std::optional<platform::Picture> icon() override { return read("icon", &ScriptedApplication::icon); }
    bool isActive() override { return read("isActive", &ScriptedApplication::active); }
    bool isHidden() override { return read("isHidden", &ScriptedApplication::hidden); }
    bool isTerminated() override {
        auto pass = desktop_.gate.enter("isTerminated");
        return !pass || !desktop_.application(pid_);
    }
    bool activate(platform::Activation how) override {
        const bool all = how == platform::Activation::allWindows;
        return order(all ? "activate all" : "activate", [this] { desktop_.activateApplication(pid_); });
    }
    bool hide() override {
        return order("hide", [this] { desktop_.hideApplication(pid_); });
    }
    bool unhide() override {
        return order("unhide", [this] { desktop_.hideApplication(pid_, false); });
    }
    bool terminate() override {
        return order("terminate", [this] { desktop_.quitApplication(pid_); });
    }
    bool forceTerminate() override {
        return order("force terminate", [this] { desktop_.quitApplication(pid_); });
    }

  private:
    template <typename T>
    T read(const char* call, T ScriptedApplication::*member) {
        auto pass = desktop_.gate.enter(call);
        const auto* found = desktop_.application(pid_);
        return pass && found ? found->*member : T{};
    }
    template <typename Effect>
    bool order(const std::string& what, Effect effect) {
        auto pass = desktop_.gate.enter("order");
        const auto* found = desktop_.application(pid_);
        if (!pass || !found || !found->obeys) return false;
        desktop_.orders.push_back(what + " " + std::to_string(pid_));
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
        if (!pass) return list;
        for (const auto& application : desktop_.applications) list.push_back(running(application.pid));
        return list;
    }
    std::shared_ptr<platform::RunningApplication> application(int32_t pid) override {
        auto pass = desktop_.gate.enter("application");
        return pass && desktop_.application(pid) ? running(pid) : nullptr;
    }
    std::optional<std::string> fullPathForApplication(const std::string& name) override {
        auto pass = desktop_.gate.enter("fullPathForApplication");
        const auto found = desktop_.installed.find(name);
        return pass && found != desktop_.installed.end() ? std::optional(found->second) : std::nullopt;
    }
    std::optional<platform::Picture> iconForFile(const std::string& path) override {
        auto pass = desktop_.gate.enter("iconForFile");
        const auto found = desktop_.files.find(path);
        return pass && found != desktop_.files.end() ? std::optional(found->second) : std::nullopt;
    }

  private:
    std::shared_ptr<platform::RunningApplication> running(int32_t pid) {
        return std::make_shared<ScriptedRunningApplication>(desktop_, pid);
    }

    Desktop& desktop_;
};

}  // namespace

std::unique_ptr<platform::Workspace> makeScriptedWorkspace(Desktop& desktop) {
    return std::make_unique<ScriptedWorkspace>(desktop);
}

}  // namespace orvo::test
