#include "ostrum/foundation/stage/MScene.h"

MScene::MScene(const std::wstring& label) : m_label(label) {}

MScene::~MScene() = default;

void MScene::SetLabel(const std::wstring& label) { m_label = label; }

void MScene::_UpdateBoundingBox() const {}
