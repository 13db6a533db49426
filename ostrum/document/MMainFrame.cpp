#include "ostrum/document/MMainFrame.h"

MMainFrame::~MMainFrame() = default;

void MMainFrame::DoUpdateUI(MOperation&, void*) {}
