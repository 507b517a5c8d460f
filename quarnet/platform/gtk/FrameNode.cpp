#include "quarnet/platform/gtk/FrameNode.h"

#include "quarnet/platform/gtk/FrameAnimation.h"

#include <algorithm>
#include <utility>

namespace quarnet::platform {

FrameNode::~FrameNode() {
  for (const auto& child : children_) {
    FrameNode& node = dynamic_cast<FrameNode&>(*child);
    node.parent_ = nullptr;
    gtk_widget_unparent(node.widget());
  }
}

void FrameNode::setNodeFrame(const Rect& frame) {
  frame_ = frame;
  FrameAnimation::move(box(), frame);
}

bool FrameNode::addChild(std::shared_ptr<View> child) {
  FrameNode* node = dynamic_cast<FrameNode*>(child.get());
  if (node == nullptr || node == this) return false;
  node->removeFromParent();
  node->parent_ = this;
  children_.push_back(std::move(child));
  gtk_widget_insert_before(node->widget(), widget(), nullptr);
  return true;
}

void FrameNode::removeFromParent() {
  FrameNode* const parent = std::exchange(parent_, nullptr);
  if (parent == nullptr) return;
  const auto self =
      std::find_if(parent->children_.begin(), parent->children_.end(), [this](const auto& child) {
        return dynamic_cast<FrameNode*>(child.get()) == this;
      });
  // Held to the end of this call: the parent's may be the last reference.
  const std::shared_ptr<View> held = std::move(*self);
  parent->children_.erase(self);
  giveUpFocus();
  gtk_widget_unparent(widget());
  parent->childRemoved(*this);
}

void FrameNode::giveUpFocus() const {
  GtkRoot* const root = gtk_widget_get_root(widget());
  GtkWidget* const focus = root == nullptr ? nullptr : gtk_root_get_focus(root);
  if (focus != nullptr && gtk_widget_is_ancestor(focus, widget()))
    gtk_root_set_focus(root, nullptr);
}

} // namespace quarnet::platform
