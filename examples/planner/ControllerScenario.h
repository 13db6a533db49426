#pragma once
// The planner's application controller: a command routed through the application's chain to a
// listening module and on to the document, and a notification delivered while its observers
// rearrange themselves.

namespace planner {

class PlannerDocument;

/// Runs the scenario with the planner's document and traces it.
void RunControllerScenario(PlannerDocument& document);

}  // namespace planner
