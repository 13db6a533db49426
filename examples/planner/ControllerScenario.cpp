#include "ControllerScenario.h"

#include <string>

#include "PlannerModel.h"
#include "PlannerTrace.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/notification/NotificationCenter.h"

namespace planner {

namespace {

constexpr UINT kAlignCommand = 32801;  // the Edit menu's "Align implant"

// A module of the planner that logs every command of the documents, without subclassing them.
struct CommandLog {
  MFCA::CmdMessageDispatcher dispatcher;
  bool OnAlign(const MFCA::CmdMessage& message) {
    Trace(L"module \"command log\" sees command " + std::to_wstring(message.GetID()) + L" and lets it pass");
    return false;
  }
};

// A plan's measurement changed: what the panels below listen for.
struct MeasurementChanged {
  double millimetres;
};

// A panel that shows the measurement; one of them leaves after its first delivery, another
// brings a new panel, which hears from the next delivery on.
struct Panel {
  std::wstring name;
  Ostrum::NotificationCenter* center = nullptr;
  Panel* bring = nullptr;
  bool leave_after_first = false;
  void OnMeasurement(const MeasurementChanged& change) {
    Trace(L"panel " + name + L" shows " + std::to_wstring(change.millimetres) + L" mm");
    if (leave_after_first) {
      center->RemoveObservers(Ostrum::NotificationCenter::_ObserverRef(this));
      Trace(L"  panel " + name + L" closes itself");
      leave_after_first = false;
    }
    if (bring) {
      center->AddObserver(bring, &Panel::OnMeasurement);
      Trace(L"  panel " + name + L" opens panel " + bring->name + L" (it hears from the next change on)");
      bring = nullptr;
    }
  }
};

}  // namespace

void RunControllerScenario(PlannerDocument& document) {
  Ostrum::MApplicationController* controller = Ostrum::MApplicationController::GetInstance();
  Heading(L"a command through the application's chain");
  CommandLog module;
  module.dispatcher.SetCommandHandlerFunctor(
      kAlignCommand, new MFCA::CmdMessageFunction([&](const MFCA::CmdMessage& m) { return module.OnAlign(m); }));
  controller->GetCmdMessageHandlerChain().AppendMessageDispatcher(&module.dispatcher);
  document.GetDefaultCmdMessageDispatcher().SetCommandHandlerFunctor(
      kAlignCommand, new MFCA::CmdMessageFunction([](const MFCA::CmdMessage&) {
        Trace(L"the document's own chain runs \"Align implant\"");
        return true;
      }));
  Trace(L"the Edit menu sends command " + std::to_wstring(kAlignCommand) + L" to the document:");
  {
    TraceScope scope;
    const BOOL handled = document.OnCmdMsg(kAlignCommand, 0, nullptr, nullptr);
    Trace(std::wstring(L"handled: ") + (handled ? L"yes" : L"no"));
  }
  controller->GetCmdMessageHandlerChain().RemoveMessageDispatcher(&module.dispatcher);
  document.GetDefaultCmdMessageDispatcher().SetCommandHandlerFunctor(kAlignCommand, nullptr);

  Heading(L"a notification while its observers rearrange themselves");
  Ostrum::NotificationCenter center;
  Panel ruler{L"ruler", &center}, summary{L"summary", &center}, report{L"report", &center};
  ruler.leave_after_first = true;
  summary.bring = &report;
  center.AddObserver(&ruler, &Panel::OnMeasurement);
  center.AddObserver(&summary, &Panel::OnMeasurement);
  Trace(L"the screw's depth changes to 12.5 mm:");
  {
    TraceScope scope;
    center.NotifyObservers(nullptr, MeasurementChanged{12.5});
  }
  Trace(L"and to 14 mm:");
  {
    TraceScope scope;
    center.NotifyObservers(nullptr, MeasurementChanged{14});
  }
}

}  // namespace planner
