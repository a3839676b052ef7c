#include <nodetree/valuelist.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Release {
  void operator()(void **list) const { vl_free(list, nullptr); }
};
using List = std::unique_ptr<void *, Release>;
using Elements = std::vector<void *>;

int x[6];
void *const a = &x[0], *const b = &x[1], *const c = &x[2], *const d = &x[3];

Elements elements(const List &list) {
  EXPECT_NE(list, nullptr);
  return Elements(list.get(), list.get() + vl_len(list.get()));
}

void *address(uintptr_t value) {
  return reinterpret_cast<void *>(value);
}

TEST(ValueList, IsMadeAndGrownInArgumentOrder) {
  List list(_vl_new(a, b, c, nullptr));
  EXPECT_EQ(elements(list), (Elements{a, b, c}));
  list.reset(_vl_append(list.release(), d, nullptr));
  EXPECT_EQ(elements(list), (Elements{a, b, c, d}));
  list.reset(vl_append(list.release(), a, a));
  EXPECT_EQ(elements(list), (Elements{a, b, c, d, a, a}));
  EXPECT_EQ(elements(List(vl_new(b, c))), (Elements{b, c}));
  EXPECT_EQ(elements(List(vl_append(nullptr, d))), (Elements{d}));
}

TEST(ValueList, TellsEmptyListsFromNull) {
  EXPECT_EQ(vl_len(nullptr), 0u);
  EXPECT_TRUE(vl_empty(nullptr));
  void **nothing = nullptr;
  for (void **made :
       {_vl_new(nullptr), _vl_append(nothing, nullptr), vl_copyn(nullptr, 0),
        vl_appendn(nullptr, std::vector<void *>{nullptr, nullptr}.data(), 2)}) {
    List empty(made);
    EXPECT_TRUE(vl_empty(empty.get()));
    EXPECT_EQ(elements(empty), Elements{});
    EXPECT_EQ(elements(List(vl_copy(empty.get()))), Elements{});
    EXPECT_EQ(elements(List(_vl_append(empty.release(), nullptr))), Elements{});
  }
  EXPECT_EQ(vl_copy(nullptr), nullptr);
  EXPECT_FALSE(vl_empty(List(vl_new(a)).get()));
}

TEST(ValueList, AppendsArrays) {
  EXPECT_EQ(vl_appendn(nullptr, nullptr, 0), nullptr);
  const Elements more{b, nullptr, c};
  List list(vl_appendn(nullptr, more.data(), more.size()));
  EXPECT_EQ(elements(list), (Elements{b, c}));
  EXPECT_EQ(vl_appendn(list.get(), nullptr, 0), list.get());
  void **own = list.release();
  list.reset(vl_appendn(own, own, 2));
  EXPECT_EQ(elements(list), (Elements{b, c, b, c}));
}

TEST(ValueList, EqualsByIdentityAndOrder) {
  const struct {
    void **left, **right;
    bool equal;
  } cases[] = {
      {nullptr, nullptr, true},
      {nullptr, _vl_new(nullptr), false},
      {_vl_new(nullptr), _vl_new(nullptr), true},
      {vl_new(a, b), vl_new(a, b), true},
      {vl_new(a, b), vl_new(b, a), false},
      {vl_new(a), vl_new(a, b), false},
      {vl_new(a), _vl_new(nullptr), false},
  };
  for (const auto &test : cases) {
    List left(test.left), right(test.right);
    EXPECT_EQ(vl_equals(left.get(), right.get()), test.equal);
    EXPECT_EQ(vl_equals(right.get(), left.get()), test.equal);
    EXPECT_TRUE(vl_equals(left.get(), left.get()));
  }
}

TEST(ValueList, CopiesThePointersInFrontOfACount) {
  List list(vl_new(a, b, c));
  EXPECT_EQ(elements(List(vl_copyn(list.get(), 2))), (Elements{a, b}));
  EXPECT_EQ(elements(List(vl_copy(list.get()))), (Elements{a, b, c}));
  EXPECT_EQ(elements(List(vl_copyn(list.get(), 0))), Elements{});
  EXPECT_EQ(vl_copyn(list.get(), SIZE_MAX), nullptr);
}

TEST(ValueList, ConcatConsumesTheSecondList) {
  EXPECT_EQ(vl_concat(nullptr, nullptr), nullptr);
  void **plain = vl_new(a, b);
  EXPECT_EQ(vl_concat(plain, nullptr), plain);
  EXPECT_EQ(vl_concat(plain, _vl_new(nullptr)), plain);
  List list(vl_concat(plain, vl_new(c, d)));
  EXPECT_EQ(elements(list), (Elements{a, b, c, d}));
  EXPECT_EQ(elements(List(vl_concat(nullptr, vl_new(c)))), (Elements{c}));
}

TEST(ValueList, IsWrittenAsItsAddresses) {
  const auto text = [](void **made) {
    List list(made);
    std::unique_ptr<char, decltype(&free)> written(vl_stringify(list.get()), free);
    return std::string(written.get());
  };
  EXPECT_EQ(text(nullptr), "[ ]");
  EXPECT_EQ(text(_vl_new(nullptr)), "[ ]");
  EXPECT_EQ(text(vl_new(address(0x1000))), "[ 0x1000 ]");
  EXPECT_EQ(text(vl_new(address(0x1000), address(0x20), address(0x1000))),
            "[ 0x1000, 0x20, 0x1000 ]");
}

TEST(ValueList, SortsByAddressOverTheWholeAddressSpace) {
  void *const low = address(1), *const middle = address(UINTPTR_MAX / 2 + 2),
              *const high = address(UINTPTR_MAX);
  List list(vl_new(high, low, middle, low));
  vl_sort(list.get(), vl_sort_natural_cmp);
  EXPECT_EQ(elements(list), (Elements{low, low, middle, high}));
  EXPECT_EQ(vl_sort_natural_cmp(&a, &a), 0);
  vl_sort(nullptr, vl_sort_natural_cmp);
  List empty(_vl_new(nullptr));
  vl_sort(empty.get(), vl_sort_natural_cmp);
  EXPECT_TRUE(vl_empty(empty.get()));
}

TEST(ValueList, ReleasesElementsFirstToLast) {
  static Elements released;
  const auto release = [](void *element) { released.push_back(element); };
  vl_free(nullptr, release);
  EXPECT_EQ(released, Elements{});
  vl_free(vl_new(c, a, b), release);
  EXPECT_EQ(released, (Elements{c, a, b}));
}

} // namespace
