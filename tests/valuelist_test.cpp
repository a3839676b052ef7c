#include <nodetree/valuelist.h>

#include "support.hpp"

#include <cstdint>

using test::values_owner;

namespace {

using Elements = std::vector<void *>;

int x[6];
void *const a = &x[0], *const b = &x[1], *const c = &x[2], *const d = &x[3];

Elements elements(const values_owner &list) {
  EXPECT_NE(list, nullptr);
  return Elements(list.get(), list.get() + vl_len(list.get()));
}

Elements take(void **list) {
  return elements(values_owner(list));
}

void *address(uintptr_t value) {
  return reinterpret_cast<void *>(value);
}

TEST(ValueList, GrowsInArgumentOrder) {
  values_owner list(vl_append(_vl_append(_vl_new(a, b, c, nullptr), d, nullptr), a, a));
  EXPECT_EQ(elements(list), (Elements{a, b, c, d, a, a}));
  EXPECT_EQ(take(vl_append(nullptr, d)), Elements{d});
  EXPECT_EQ(vl_appendn(nullptr, nullptr, 0), nullptr);
  const Elements more{b, nullptr, c};
  list.reset(vl_appendn(vl_new(b, c), more.data(), more.size()));
  EXPECT_EQ(vl_appendn(list.get(), nullptr, 0), list.get());
  void **own = list.release();
  list.reset(vl_appendn(own, own, 2));
  EXPECT_EQ(elements(list), (Elements{b, c, b, c, b, c}));
}

TEST(ValueList, TellsEmptyListsFromNull) {
  EXPECT_EQ(vl_len(nullptr), 0u);
  EXPECT_TRUE(vl_empty(nullptr));
  void **nothing = nullptr;
  for (void **made : {_vl_new(nullptr), _vl_append(nothing, nullptr), vl_copyn(nullptr, 0),
                      vl_appendn(nullptr, Elements{nullptr, nullptr}.data(), 2)}) {
    values_owner empty(made);
    EXPECT_TRUE(vl_empty(empty.get()));
    EXPECT_EQ(take(vl_copy(empty.get())), Elements{});
    EXPECT_EQ(take(_vl_append(empty.release(), nullptr)), Elements{});
  }
  EXPECT_EQ(vl_copy(nullptr), nullptr);
}

TEST(ValueList, EqualsByIdentityAndOrder) {
  const values_owner lists[] = {values_owner(), values_owner(_vl_new(nullptr)),
                                values_owner(vl_new(a)), values_owner(vl_new(a, b)),
                                values_owner(vl_new(b, a))};
  for (const values_owner &left : lists)
    for (const values_owner &right : lists) {
      const values_owner same(vl_copy(left.get()));
      EXPECT_EQ(vl_equals(same.get(), right.get()), &left == &right);
      EXPECT_EQ(vl_equals(left.get(), right.get()), &left == &right);
    }
}

TEST(ValueList, CopiesThePointersInFrontOfACount) {
  const values_owner list(vl_new(a, b, c));
  EXPECT_EQ(take(vl_copyn(list.get(), 2)), (Elements{a, b}));
  EXPECT_EQ(take(vl_copy(list.get())), (Elements{a, b, c}));
  EXPECT_EQ(take(vl_copyn(list.get(), 0)), Elements{});
  EXPECT_EQ(vl_copyn(list.get(), SIZE_MAX), nullptr);
}

TEST(ValueList, ConcatConsumesTheSecondList) {
  EXPECT_EQ(vl_concat(nullptr, nullptr), nullptr);
  void **plain = vl_new(a, b);
  EXPECT_EQ(vl_concat(plain, nullptr), plain);
  EXPECT_EQ(vl_concat(plain, _vl_new(nullptr)), plain);
  EXPECT_EQ(take(vl_concat(plain, vl_new(c, d))), (Elements{a, b, c, d}));
  EXPECT_EQ(take(vl_concat(nullptr, vl_new(c))), Elements{c});
}

TEST(ValueList, IsWrittenAsItsAddresses) {
  const values_owner list(vl_new(address(0x1000), address(0x20), address(0x1000)));
  EXPECT_EQ(test::take(vl_stringify(list.get())), "[ 0x1000, 0x20, 0x1000 ]");
  EXPECT_EQ(test::take(vl_stringify(nullptr)), "[ ]");
}

TEST(ValueList, SortsByAddressOverTheWholeAddressSpace) {
  void *const low = address(1), *const middle = address(UINTPTR_MAX / 2 + 2),
              *const high = address(UINTPTR_MAX);
  const values_owner list(vl_new(high, low, middle, low)), empty(_vl_new(nullptr));
  for (void **each : {list.get(), empty.get(), static_cast<void **>(nullptr)})
    vl_sort(each, vl_sort_natural_cmp);
  EXPECT_EQ(elements(list), (Elements{low, low, middle, high}));
  EXPECT_EQ(vl_sort_natural_cmp(&a, &a), 0);
}

TEST(ValueList, ReleasesElementsFirstToLast) {
  static Elements released;
  const auto release = [](void *element) { released.push_back(element); };
  vl_free(nullptr, release);
  vl_free(vl_new(c, a, b), release);
  EXPECT_EQ(released, (Elements{c, a, b}));
}

} // namespace
