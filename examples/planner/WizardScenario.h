#pragma once
// The planner's planning wizard: choose the implant in a bar docked under the plan, place the
// screw in a modal dialog, confirm in a dialog beside the plan. A scripted user goes through
// it on the headless desktop; every start, move and finish is an operation the document
// publishes, and the collected plan is read from the wizard's pool at the end.

namespace planner {

/// Runs the scenario with a document, a main frame and a view of its own and traces it.
void RunWizardScenario();

}  // namespace planner
