#pragma once
// IPickable: an object that the line of sight through a window point can hit. The picker asks
// each pickable object of the document (and the window's scene, if it is one) for its hits and
// knows nothing of their geometry; the object computes where the line meets it and reports each
// hit back through MPickerBase::AddIntersection. To find the line, an object reads the pick
// point (GetXPickCoordinate, GetYPickCoordinate, in window coordinates), the tolerance
// (GetPickRadius) and the transforms from its own system to the window's
// (GetObjectToWindowTransformation, GetWindowCoordinateSystem).
//
// The picker finds pickables by a run-time cast of the document's UIObjects and of the active
// scene, so a host class derives from UIObject (or MSceneEx) and from IPickable.

#include "ostrum/Export.h"

class MPickerBase;

class OSTRUM_API IPickable {
 public:
  /// Reports this object's hits for the picker's window point through its AddIntersection
  /// operations; an object that is not under the point reports nothing.
  virtual void GetLineIntersections(MPickerBase* picker) = 0;

  /// Pickables are owned as what they are otherwise (tree objects, scenes); the picker never
  /// deletes one.
  virtual ~IPickable();
};
