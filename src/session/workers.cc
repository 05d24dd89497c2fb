// What runs a session's frames: its executor, its engine, its mask builder.
// Each is chosen once, when the session is opened.
#include <memory>
#include <new>

#include "engine/reference/reference_engine.h"
#include "qlsbp/mask.h"
#include "session/session_internal.h"
#include "threads/worker_pool.h"

std::unique_ptr<qlsbp::Executor> session_make_executor(int workers) {
  if (workers == 0) {
    return std::unique_ptr<qlsbp::Executor>(new (std::nothrow) qlsbp::PerCallExecutor);
  }
  std::unique_ptr<qlsbp::WorkerPool> pool(new (std::nothrow) qlsbp::WorkerPool(workers));
  // A pool short of workers would still give the right bytes, but not the
  // parallelism asked for: the caller hears about it instead.
  if (pool == nullptr || pool->started() != workers) return nullptr;
  return pool;
}

EngineRun session_engine(int engine) {
  // Both engines give the same bytes; for now both settings run the
  // reference engine.
  (void)engine;
  return reference_engine_run;
}

MaskBuilder session_mask_builder(int clean_edges) {
  // The exact mask unless the session asked for clean edges: the exact one is
  // what the host API has always blended with, byte for byte.
  return clean_edges != 0 ? gen_ellipse4_clean : gen_ellipse4;
}
