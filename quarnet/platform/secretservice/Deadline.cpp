#include "quarnet/platform/secretservice/Deadline.h"

namespace quarnet::platform {

Deadline::Deadline(std::chrono::milliseconds patience)
    : context_(g_main_context_new()), cancellable_(g_cancellable_new()) {
  GSource* timer = g_timeout_source_new(static_cast<guint>(patience.count()));
  g_source_set_callback(timer, end, cancellable(), nullptr);
  g_source_attach(timer, context_.get());
  g_source_unref(timer);
  g_main_context_push_thread_default(context_.get());
}

Deadline::~Deadline() {
  g_main_context_pop_thread_default(context_.get());
}

void Deadline::keep(GObject*, GAsyncResult* result, gpointer place) {
  static_cast<Owned<GAsyncResult>*>(place)->reset(G_ASYNC_RESULT(g_object_ref(result)));
}

gboolean Deadline::end(gpointer cancellable) {
  g_cancellable_cancel(G_CANCELLABLE(cancellable));
  return G_SOURCE_REMOVE;
}

} // namespace quarnet::platform
