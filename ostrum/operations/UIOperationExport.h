#pragma once
// UIOperationExport is declared beside UIOperationImport.
#include "ostrum/operations/UIOperationImport.h"
