#pragma once
// UIObject: the node of the object tree, joining the object, drawing, subject, observer and
// defined-object interfaces. The tree's own state (parent, children, labels, visibility per
// scene, coordinate system) joins this class with the object tree.

#include "ostrum/Export.h"
#include "ostrum/objects/IObject.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/IRender.h"
#include "ostrum/objects/MDefinedObject.h"
#include "ostrum/objects/MSubject.h"

class OSTRUM_API UIObject : public IObject,
                            public IRender,
                            public MSubject,
                            public IObserver,
                            public MDefinedObject {
 public:
  ~UIObject() override;
};
