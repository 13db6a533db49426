#include "ostrum/foundation/frameadapter/MessageProcessor.h"

namespace MFCA::Private {

IWndMessageBaseHandler::~IWndMessageBaseHandler() = default;
ICmdMessageBaseHandler::~ICmdMessageBaseHandler() = default;

}  // namespace MFCA::Private
