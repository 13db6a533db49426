#pragma once
// IWizardInfoPool: the information a wizard's steps collect together. The framework knows it
// only as this empty interface; a host derives its pool from it and its steps cast to that.

#include "ostrum/Export.h"

class OSTRUM_API IWizardInfoPool {
 public:
  virtual ~IWizardInfoPool();
};
