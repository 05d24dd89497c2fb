// The mask utilities against models read straight off their documented
// rules, with hand-worked cases pinning the models to paper values:
// - gen_ellipse4, gen_ellipse3 and gen_ellipse2 against one step-by-step row
//   model (running edge index included), gen_ellipse against the exact
//   integer inequality, on random and extreme geometries;
// - cal_blur_range against a brute-force coverage count, image_fill and
//   image_board_process against their step lists, copy_image's size table.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

using qlsbp_test::random_int;
using Mask = std::vector<uint16_t>;

int32_t sq32(int v) { return int32_t(uint32_t(v) * uint32_t(v)); }  // the target's product
bool axes_ok(int a, int b) { return a > 0 && b > 0 && sq32(a) > 0 && sq32(b) > 0; }
// Saturating truncation, NaN -> 0.
int64_t itrunc(double v) { return v != v ? 0 : int64_t(std::clamp(v, -0x1p31, 0x1p31 - 1)); }

// One row: outer limits [lo, ro] at scale S, inner [li, ri] (= lo when the
// row misses the inner ellipse); false when the row misses the outer one.
struct Row {
  double S, qy, b2, cx;
  int64_t lo, ro, li, ri;
  bool inner;
  double weight(int64_t x) const {
    const double dx = cx - double(x);
    return (S - (qy + dx * dx / b2)) / (S - 1);
  }
  bool at(int cy, int a, int b, int r, int w) {
    const double dy = double(cy) - r;
    qy = dy * dy / sq32(a), b2 = sq32(b);
    auto lim = [&](double half, int64_t& l, int64_t& h) {
      l = std::max<int64_t>(itrunc(cx - half + 0.5), 0);
      h = std::min<int64_t>(itrunc(cx + half + 0.5), w - 1);
    };
    if (qy > S) return false;
    lim(b * std::sqrt(S - qy), lo, ro);
    inner = qy < 1, li = ri = lo;
    if (inner) lim(b * std::sqrt(1 - qy), li, ri);
    return true;
  }
};

// The 16-bit mask and gen_ellipse3's spans (table i at spans[i * h]): edge
// values go to the running index k, runs to their own columns; k counts the
// columns dropped outside the row too.
void model4(Mask& m, std::vector<int>& spans, int cy, int cx, int a, int b, int t, int h, int w) {
  if (h < 1) return;
  std::fill(spans.begin(), spans.end(), -4);
  if (w < 1 || !axes_ok(a, b)) return;
  const double s = 1.0 + t / double(std::min(a, b));
  Row g{s * s, 0, 0, double(cx), 0, 0, 0, 0, false};
  for (int r = 0; r < h; ++r) {
    if (!g.at(cy, a, b, r, w)) continue;
    for (int64_t i = 0, v[4] = {g.lo, g.ro, g.li, g.ri}; i < 4; ++i) spans[i * h + r] = int(v[i]);
    auto put = [&](int64_t x, uint16_t v) { if (x >= 0 && x < w) m[size_t(r) * w + x] = v; };
    auto ramp = [&](int64_t x) {  // saturated unsigned weight * 1024, low 16 bits
      const double v = std::min(std::trunc(g.weight(x) * 1024.0), 4294967295.0);
      return uint16_t(v > 0 ? uint64_t(v) : 0);
    };
    int64_t k = g.lo;
    auto edge = [&](int64_t x) { if (k < w) put(k++, ramp(x)); };
    auto run = [&](int64_t x0, int64_t x1, bool ones) {
      for (int64_t x = std::max<int64_t>(x0, 0); x <= std::min<int64_t>(x1, w - 1); ++x)
        put(x, ones ? 1024 : ramp(x));
      k += std::max<int64_t>(x1 - x0 + 1, 0);
    };
    if (g.S == 1 && g.inner) run(g.li, g.ri - 1, true);  // no band: the run of 1024 only
    if (g.S != 1 && !g.inner) run(g.lo, g.ro - 1, false);
    if (g.S == 1 || !g.inner) continue;
    edge(g.lo), run(g.lo + 1, g.li - 2, false), edge(g.li - 1), run(g.li, g.ri - 1, true);
    edge(g.ri), run(g.ri + 1, g.ro - 2, false), edge(g.ro - 1);
  }
}

// The weight mask: S from half the smaller image side; the values of the row
// go through one position p from lo on, dropped past the row end.
void model2(std::vector<double>& m, int cy, int cx, int a, int b, int t, int h, int w) {
  if (h < 1 || w < 1 || !axes_ok(a, b)) return;
  const double s = 1.0 + t / (0.5 * std::min(h, w));
  Row g{s * s, 0, 0, double(cx), 0, 0, 0, 0, false};
  for (int r = 0; r < h; ++r) {
    if (!g.at(cy, a, b, r, w)) continue;
    int64_t p = g.lo;
    auto put = [&](int64_t x0, int64_t x1, bool ones) {
      for (int64_t x = x0; x <= x1 && p < w; ++x, ++p)
        m[size_t(r) * w + p] = ones ? 1.0 : std::max(g.weight(x), 0.0);
    };
    if (g.S != 1) put(g.lo, (g.inner ? g.li : g.ro) - 1, false);
    if (g.inner) put(g.li, g.ri - 1, true);
    if (g.S != 1 && g.inner) put(g.ri, g.ro - 1, false);
  }
}

// gen_ellipse4, gen_ellipse3 and gen_ellipse2 on sentinel-filled buffers (so
// unwritten pixels show) against the models.
void check(int cy, int cx, int a, int b, int t, int h, int w) {
  SCOPED_TRACE(testing::Message() << cy << "," << cx << " a,b,t=" << a << "," << b << "," << t
                                  << " " << h << "x" << w);
  const size_t n = size_t(std::max(h, 1)) * size_t(std::max(w, 1)), nh = std::max(h, 1);
  Mask want(n, 0x7777), got4(want), got3(want);
  std::vector<int> want_spans(4 * nh, 99), spans(want_spans);
  int* sp[4] = {&spans[0], &spans[nh], &spans[2 * nh], &spans[3 * nh]};
  std::vector<double> want2(n, -1.0), got2(want2);
  model4(want, want_spans, cy, cx, a, b, t, h, w);
  model2(want2, cy, cx, a, b, t, h, w);
  gen_ellipse4(got4.data(), cy, cx, a, b, t, h, w);
  gen_ellipse3(got3.data(), sp, cy, cx, a, b, t, h, w);
  gen_ellipse2(got2.data(), cy, cx, a, b, t, h, w);
  ASSERT_EQ(got4, want);
  ASSERT_EQ(got3, want);
  ASSERT_EQ(spans, want_spans);
  ASSERT_EQ(got2, want2);
  int* some[4] = {nullptr, sp[1], nullptr, nullptr};  // null tables are skipped
  gen_ellipse3(got3.data(), some, cy, cx, a, b, t, h, w);
  gen_ellipse3(got3.data(), nullptr, cy, cx, a, b, t, h, w);
}

// gen_ellipse against dy^2 b^2 + dx^2 a^2 <= a^2 b^2 (32-bit squares),
// |dy| <= a, |dx| <= b. Off-axis points exactly on the ellipse are skipped:
// there the double sum may round either way.
void check_hard(int cy, int cx, int a, int b, int h, int w) {
  const int H = std::max(h, 1), W = std::max(w, 1);
  std::vector<uint8_t> m(size_t(H) * W, 7);
  gen_ellipse(m.data(), cy, cx, a, b, h, w);
  const bool none = h < 1 || w < 1 || a < 0 || b < 0 || (a > 0 && sq32(a) <= 0) ||
                    (b > 0 && sq32(b) <= 0);
  for (int r = 0; r < H * W; ++r) {
    const int64_t dy = int64_t{cy} - r / W, dx = int64_t{cx} - r % W;
    const int64_t a2 = a ? sq32(a) : 1, b2 = b ? sq32(b) : 1;  // a zero axis leaves d = 0
    const bool near = !none && std::abs(dy) <= a && std::abs(dx) <= b;
    const int64_t lhs = near ? dy * dy * b2 + dx * dx * a2 : 1, rhs = near ? a2 * b2 : 0;
    if (lhs == rhs && dx != 0 && dy != 0) continue;
    ASSERT_EQ(m[r], lhs <= rhs ? 255 : 7) << cy << "," << cx << " " << a << "," << b << " @" << r;
  }
}

using Plane = std::vector<unsigned char>;

// '.' = 0, '1' = 1, '#' = 255, one character per pixel.
Plane parse(std::string s) {
  Plane p(s.size());
  std::transform(s.begin(), s.end(), p.begin(), [](char c) { return c == '#' ? 255 : c == '1'; });
  return p;
}

// Edge of the first run from the front (the clear pixel before it; `both`
// when pixels 0 and 1 are set) and of the last run from the back (its last
// pixel; `both` when the last two are set); -1 when there is none.
template <class Px> int rising(Px px, int n, int both) {
  if (px(0) && px(1)) return both;
  for (int j = 0; j + 1 < n; ++j) if (!px(j) && px(j + 1)) return j;
  return -1;
}
template <class Px> int falling(Px px, int n, int both) {
  if (px(n - 2) && px(n - 1)) return both;
  for (int j = n - 2; j >= 0; --j) if (px(j) && !px(j + 1)) return j;
  return -1;
}

Plane model_fill(const Plane& in, int rows, int cols) {
  Plane out(in);
  for (int i = 0; i < rows; ++i) {
    auto px = [&](int j) { return in[i * cols + j] != 0; };
    const int l = rising(px, cols, 0), r = falling(px, cols, cols - 2);
    for (int j = l; l >= 0 && j <= r; ++j) out[i * cols + j] = 255;
  }
  for (int j = 0; j < cols; ++j) {
    auto px = [&](int i) { return in[i * cols + j] != 0; };
    const int top = rising(px, rows, 1), bottom = falling(px, rows, rows - 1);
    for (int i = 0; top >= 0 && i < rows; ++i) if (i < top || i > bottom) out[i * cols + j] = 0;
  }
  return out;
}

// The four border steps as listed, with one spare byte after the plane so the
// last row's right-border spill really happens.
Plane model_border(Plane p, int rows, int cols, int n) {
  p.push_back(0);
  auto at = [&](int i, int j) -> unsigned char& { return p[i * cols + j]; };
  for (int k = 0; k < n; ++k)
    for (int j = 0; j < cols; ++j) at(k, j) = at(2 * n - k, j);
  for (int m = 0; m < n; ++m)
    for (int j = 0; j < cols; ++j) at(rows - 1 - m, j) = at(rows - 1 - 2 * n + m, j);
  for (int i = 0; i < rows; ++i)
    for (int m = 0; m < n; ++m) at(i, cols - m) = at(i, cols - 1 - 2 * n + m);
  for (int i = 0; i < rows; ++i)
    for (int k = 0; k < n; ++k) at(i, k) = at(i, 2 * n - k);
  p.pop_back();
  return p;
}


}  // namespace

// a = b = 4 (t = 2: S = 2.25; t = 4: S = 4), a = b = 10 with t = 4, and a
// narrow band at a = b = 100. The row's values from column `col` on.
TEST(EllipseMask, HandWorkedRowsSpansAndWeights) {
  const uint16_t F = 1024;
  const struct { int cy, cx, a, b, t, h, w, row, col; Mask want; } cases[] = {
      // Lo = 4 (on the outer ellipse: 0), Li = 6, Ri = 14, Ro = 16 (untouched).
      {10, 10, 4, 4, 2, 21, 21, 10, 3, {0, 0, 563, F, F, F, F, F, F, F, F, F, 563, 0, 0}},
      {10, 10, 4, 4, 2, 21, 21, 5, 6, {0, 102, 358, 512, 563, 512, 358, 0, 0}},  // Lo 7, Ro 13
      {10, 10, 4, 4, 0, 21, 21, 10, 5, {0, F, F, F, F, F, F, F, F, 0}},  // t = 0: [Li, Ri - 1]
      {10, 10, 4, 4, 4, 21, 17, 10, 2, {0, 320, 597, 832, F, F, F, F, F, F, F, F, F, 832, 0}},
      // Width 16: Ro = 15 = Ri + 1 gets column Ri's 1024, not 832.
      {10, 10, 4, 4, 4, 21, 16, 10, 14, {F, F}},
      // Left border: Lo = Li = 0, Ri = 12, Ro = 16; edge values two columns
      // ahead: Ri keeps 0, column 15's value lands on 17.
      {10, 2, 10, 10, 4, 21, 40, 10, 10, {F, F, 0, 800, 554, 0, 0, 287, 0}},
      // S - 1 = 0.0404: just inside the inner edge the ramp exceeds 1024.
      {150, 150, 100, 100, 2, 300, 300, 120, 242, {F, F, F, 1214, 729, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "t=" << c.t << " w=" << c.w << " row " << c.row);
    Mask m(size_t(c.h) * c.w, 0);
    gen_ellipse4(m.data(), c.cy, c.cx, c.a, c.b, c.t, c.h, c.w);
    const auto first = m.begin() + c.row * c.w + c.col;
    EXPECT_EQ(Mask(first, first + c.want.size()), c.want);
    check(c.cy, c.cx, c.a, c.b, c.t, c.h, c.w);
  }
  // 20 x 20, t = 5: S = (1 + 5 / 10)^2 = 2.25 whatever the ellipse.
  std::vector<double> d(400, -1.0);
  gen_ellipse2(d.data(), 10, 10, 4, 4, 5, 20, 20);
  // Column 4 on the outer ellipse, 5 at q = 25/16: (2.25 - 1.5625) / 1.25.
  EXPECT_EQ(std::vector<double>(d.begin() + 203, d.begin() + 217),
            (std::vector<double>{-1, 0, 0.55, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0.55, -1}));
}

// Random geometries, alternating with thin ellipses and narrow bands (limits
// within one or two columns: the shifted edge writes). Every fifth one takes
// one parameter from the int limits and the edges of the guards: axes without
// a region, squares that wrap to positive values (70000^2) used as is, sizes
// below 1, centres and bands far out.
TEST(EllipseMask, RandomGeometriesMatchModel) {
  const int ext[] = {0, -1, -10, 46340, 46341, 65536, 70000, INT_MIN, INT_MAX - 3, INT_MAX};
  std::mt19937 rng(4242);
  for (int iter = 0; iter < 6000; ++iter) {
    const bool thin = iter % 2;
    int h = random_int(rng, 1, 48), w = random_int(rng, 1, 48);
    int a = random_int(rng, 0, thin ? 60 : 40), b = random_int(rng, 0, thin ? 4 : 40);
    int t = thin ? random_int(rng, 1, 3) : random_int(rng, -3, 30) * (iter % 9 != 0);
    int cy = random_int(rng, -50, h + 50), cx = random_int(rng, -50, w + 50);
    int* param[] = {&cy, &cx, &a, &b, &t, &h, &w};
    const int k = random_int(rng, 0, 6), v = ext[random_int(rng, 0, 9)];
    if (iter % 5 == 0) *param[k] = k >= 5 ? std::min(v, 0) : v;
    ASSERT_NO_FATAL_FAILURE(check(cy, cx, a, b, t, h, w));
    ASSERT_NO_FATAL_FAILURE(check_hard(cy, cx, a, b, h, w));
  }
  check(5, INT_MAX, 5, 8, INT_MIN, 11, 12), check(5, INT_MIN, 5, 8, INT_MAX, 11, 12);
  check(8, 11, 46340, 46340, INT_MAX, 17, 23);  // limits saturate, runs are clipped
}


// With 2r + 1 <= n on both axes the table is the true number of covered
// pixels. Otherwise: the far border is ignored while i <= r (counts above the
// real coverage); counts and products wrap in 32 bits; sizes below 1 write
// nothing.
TEST(BlurRange, CoveredPixelCountFarBorderRuleAndWrap) {
  auto cover = [](int p, int r, int n) { return std::min(p + r, n - 1) - std::max(p - r, 0) + 1; };
  for (int iter = 0; iter < 300; ++iter) {  // every radius pair, sizes 2r + 1 .. 2r + 13
    const int ry = iter % 7, rx = iter / 7 % 7;
    const int rows = 2 * ry + 1 + iter % 11, cols = 2 * rx + 1 + iter % 13;
    std::vector<unsigned> got(size_t(rows) * cols);
    cal_blur_range(got.data(), rows, cols, ry, rx);
    for (int i = 0; i < rows * cols; ++i)
      ASSERT_EQ(got[i], unsigned(cover(i / cols, ry, rows) * cover(i % cols, rx, cols))) << i;
  }
  const struct { int rows, cols, ry, rx; std::vector<unsigned> want; } cases[] = {
               {5, 1, 3, 0, {4, 5, 6, 7, 4}}, {1, 5, 0, 3, {4, 5, 6, 7, 4}},
               {3, 3, -1, -1, std::vector<unsigned>(9, 1)},  // (2r + 1)^2 = 0xFFFFFFFF^2
               {3, 1, INT_MAX, 0, {2147483648u, 2147483649u, 2147483650u}},
               {1, 3, 0, INT_MIN, {1, 1, 1}},  // 2 * INT_MIN + 1 wraps to 1
               {1, 1, 65535, 65535, {0}},      // 65536 * 65536 = 2^32
               {0, 4, 1, 1, {}}, {2, -1, 1, 1, {}}, {INT_MIN, 4, 1, 1, {}}};
  for (const auto& c : cases) {
    std::vector<unsigned> out(9, 0xDEAD), want(c.want);
    want.resize(9, 0xDEAD);
    cal_blur_range(out.data(), c.rows, c.cols, c.ry, c.rx);
    EXPECT_EQ(out, want) << c.rows << "x" << c.cols << " r=" << c.ry << "," << c.rx;
  }
}

TEST(ImageFill, HandWorkedEdgeRulesAndRandomOutlines) {
  const struct { int rows, cols; const char *in, *want; } cases[] = {
      // A ring is filled from the clear column before it to its right outline.
      {6, 6, "......" ".1111." ".1..1." ".1..1." ".1111." "......",
             "......" "#####." "#####." "#####." "#####." "......"},
      // Single rows: left = clear pixel before the run, 0 when the first two are
      // set; right = last pixel of the last run, cols - 2 when the last two are
      // set; no falling edge: nothing. Set pixels left out keep their value.
      {3, 5, "....." "1..11" ".....", "....." "1.##1" "....."},
      {3, 5, "....." "11..1" ".....", "....." "##..1" "....."},
      {3, 4, "...." "...1" "....", "...." "...1" "...."},
      // Column 1: rows 0 and 1 set, top = 1, row 0 cleared after the row fill;
      // column 2: only the last row set, no bottom edge: the whole column.
      {4, 3, ".1." ".1." "..." "..1", "#.." "##." "..." "..."},
      {1, 5, ".11.1", ".11.1"}, {5, 1, ".11.1", ".11.1"}, {0, 5, ".11.1", ".11.1"},
      {INT_MIN, 1, ".11.1", ".11.1"},  // no pixel pairs: left as is
  };
  for (const auto& c : cases) {
    Plane img = parse(c.in);
    image_fill(img.data(), c.rows, c.cols);
    EXPECT_EQ(img, parse(c.want)) << c.in;
  }
  std::mt19937 rng(99);
  for (int iter = 0; iter < 400; ++iter) {  // random outlines of 10 % to 90 % density
    const int rows = random_int(rng, 2, 24), cols = random_int(rng, 2, 24);
    Plane img(size_t(rows) * cols);
    for (auto& p : img) p = random_int(rng, 0, 9) <= iter % 9 ? (rng() & 0xff) | 1 : 0;
    const Plane want = model_fill(img, rows, cols);
    image_fill(img.data(), rows, cols);
    ASSERT_EQ(img, want) << rows << "x" << cols;
  }
}

TEST(BorderProcess, HandWorkedAndRandomPlanes) {
  // 0xEE just past the plane: the last row's spill is skipped.
  Plane buf = {1, 2, 3, 4, 17, 18, 19, 20, 33, 34, 35, 36, 49, 50, 51, 52, 0xEE};
  image_board_process(buf.data(), 4, 4, 1);
  // Row 2 -> row 0, row 1 -> row 3; column 1 -> the next row's column 0 (then
  // overwritten), column 2 -> column 0; column 3 is not written.
  EXPECT_EQ(buf, (Plane{35, 34, 35, 36, 19, 18, 19, 20, 35, 34, 35, 36, 19, 18, 19, 20, 0xEE}));
  std::mt19937 rng(21);
  for (int iter = 0; iter < 500; ++iter) {  // cols = 2n + 1: each row reads the spill above
    const int n = random_int(rng, 1, 20), rows = random_int(rng, 2 * n + 1, 2 * n + 12);
    const int cols = iter % 4 ? random_int(rng, 2 * n + 1, 2 * n + 40) : 2 * n + 1;
    const Plane in = qlsbp_test::random_bytes(size_t(rows) * cols, rng());
    Plane got(in);  // exact size: ASan catches a write past the plane
    image_board_process(got.data(), rows, cols, n);
    ASSERT_EQ(got, model_border(in, rows, cols, n)) << rows << "x" << cols << " n=" << n;
  }
  for (int n : {0, -1, INT_MIN, 2, INT_MAX, 1}) {  // 2n + 1 > 4; n = 1: 8 rows of 2 bytes
    Plane p(buf);
    image_board_process(p.data(), n == 1 ? 8 : 4, n == 1 ? 2 : 4, n);
    EXPECT_EQ(p, buf) << n;
  }
}

// dst plane 8 x 10, src plane 6 x 7 (bytes 1..42); sizes per the rect table.
TEST(CopyImage, SizeTableAndOverlap) {
  const PXrect d1 = {2, 1, 3, 4}, s1 = {1, 2, 4, 5}, d2 = {3, 0, 7, 6}, s2 = {0, 0, 9, 5};
  const PXrect d3 = {0, 4, 2, 3}, s3 = {2, 1, 1, 4}, no_rows = {0, 0, 0, 5}, neg = {0, 0, 3, -2};
  const struct { const PXrect *d, *s; int drows, srows, rows, bytes, dy, dx, sy, sx; } cases[] = {
      {nullptr, nullptr, 8, 6, 6, 7, 0, 0, 0, 0},  // min(8, 6) rows of min(10, 7) bytes
      {&d1, nullptr, 8, 6, 3, 4, 1, 2, 0, 0},     // dst rect: its size
      {nullptr, &s1, 8, 6, 4, 5, 0, 0, 2, 1},     // src rect: its size
      {&d2, &s2, 8, 6, 6, 5, 0, 3, 0, 0},         // both: min(src_rows, d.rows), s.rows unused
      {&d3, &s3, 8, 6, 2, 3, 4, 0, 1, 2},         // s.rows = 1 ignored: 2 rows
      {&no_rows, nullptr, 8, 6, 0, 0, 0, 0, 0, 0}, {nullptr, &neg, 8, 6, 0, 0, 0, 0, 0, 0},
      {nullptr, nullptr, 0, 6, 0, 0, 0, 0, 0, 0},  {nullptr, nullptr, 8, -6, 0, 0, 0, 0, 0, 0},
  };
  Plane src(6 * 7);
  std::iota(src.begin(), src.end(), 1);
  for (const auto& c : cases) {
    Plane dst(80, 0), want(80, 0);
    for (int r = 0; r < c.rows; ++r)
      std::copy_n(&src[(c.sy + r) * 7 + c.sx], c.bytes, &want[(c.dy + r) * 10 + c.dx]);
    copy_image(dst.data(), src.data(), c.drows, 10, c.srows, 7, c.d, c.s);
    EXPECT_EQ(dst, want) << &c - cases;
  }
  // A block moved down one row over itself, row by row: row 0 propagates down.
  const PXrect d = {0, 1, 5, 7}, s = {0, 0, 5, 7};
  copy_image(src.data(), src.data(), 6, 7, 6, 7, &d, &s);
  for (int i = 0; i < 42; ++i) EXPECT_EQ(src[i], i % 7 + 1) << i;
}
