// The executors: every task of a run exactly once, runs nested inside tasks
// (a plane task running its filter strips) finishing with any worker count,
// and a pool whose threads go away with it.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "threads/executor.h"
#include "threads/worker_pool.h"

namespace {

constexpr int kOuter = 5, kMiddle = 7, kInner = 3;

struct Nest {
  qlsbp::Executor* executor;
  std::atomic<int> hits[kOuter][kMiddle][kInner];
  int outer = 0;
};

struct Level {
  Nest* nest;
  int i, j;
};

void inner_task(void* ctx, int k) {
  const Level* l = static_cast<const Level*>(ctx);
  l->nest->hits[l->i][l->j][k].fetch_add(1);
}

void middle_task(void* ctx, int j) {
  const Level* up = static_cast<const Level*>(ctx);
  Level l{up->nest, up->i, j};
  up->nest->executor->run(kInner, inner_task, &l);
  // Everything the nested run did is visible once it returns.
  for (int k = 0; k < kInner; ++k) EXPECT_EQ(1, up->nest->hits[up->i][j][k].load());
}

void outer_task(void* ctx, int i) {
  Nest* n = static_cast<Nest*>(ctx);
  Level l{n, i, 0};
  n->executor->run(kMiddle, middle_task, &l);
}

void run_nest(qlsbp::Executor& executor) {
  Nest nest;
  nest.executor = &executor;
  for (auto& a : nest.hits)
    for (auto& b : a)
      for (auto& c : b) c.store(0);
  executor.run(kOuter, outer_task, &nest);
  for (int i = 0; i < kOuter; ++i)
    for (int j = 0; j < kMiddle; ++j)
      for (int k = 0; k < kInner; ++k) ASSERT_EQ(1, nest.hits[i][j][k].load()) << i << j << k;
}

TEST(Executor, NestedRunsRunEveryTaskExactlyOnce) {
  qlsbp::SerialExecutor serial;
  run_nest(serial);
  qlsbp::PerCallExecutor per_call;
  run_nest(per_call);
  for (int workers : {1, 2, 4}) {
    SCOPED_TRACE(workers);
    qlsbp::WorkerPool pool(workers);
    ASSERT_EQ(workers, pool.started());
    // No more than the processors make progress at once.
    const int processors = qlsbp::online_processors();
    EXPECT_EQ(workers + 1 < processors ? workers + 1 : processors, pool.concurrency());
    for (int round = 0; round < 20; ++round) run_nest(pool);
  }
}

TEST(Executor, EmptyRunsReturnAtOnce) {
  qlsbp::WorkerPool pool(2);
  int calls = 0;
  auto count = [](void* ctx, int) { ++*static_cast<int*>(ctx); };
  pool.run(0, count, &calls);
  pool.run(-3, count, &calls);
  qlsbp::PerCallExecutor per_call;
  per_call.run(0, count, &calls);
  EXPECT_EQ(0, calls);
  pool.run(1, count, &calls);
  EXPECT_EQ(1, calls);
}

// Several threads sharing one pool (as plane tasks do) while it nests.
TEST(Executor, OnePoolServesSeveralCallersAtOnce) {
  qlsbp::WorkerPool pool(2);
  std::vector<std::thread> callers;
  for (int c = 0; c < 3; ++c) {
    callers.emplace_back([&pool] {
      for (int round = 0; round < 10; ++round) run_nest(pool);
    });
  }
  for (std::thread& t : callers) t.join();
}

// The pool's tasks see memory written before run() and the caller sees what
// they wrote after it.
TEST(Executor, TasksSeeTheCallersDataAndTheCallerTheirs) {
  qlsbp::WorkerPool pool(3);
  std::vector<int> data(64);
  for (int round = 0; round < 200; ++round) {
    for (int i = 0; i < 64; ++i) data[i] = round + i;
    pool.run(
        64, [](void* ctx, int i) { (*static_cast<std::vector<int>*>(ctx))[i] *= 2; }, &data);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(2 * (round + i), data[i]);
  }
}

}  // namespace
