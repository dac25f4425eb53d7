// Processes that were forked off one that had worked already.
#ifndef QX_PYTHON_FORKED_H
#define QX_PYTHON_FORKED_H

namespace qx::python {

// From now on forks are noticed.
void WatchForks();

// Before any work. Raises RuntimeError in a process that was forked after work had begun: the threads that help with
// reading and writing pictures are not in it, and it would wait for them for ever.
void CheckNotForked();

}  // namespace qx::python

#endif  // QX_PYTHON_FORKED_H
