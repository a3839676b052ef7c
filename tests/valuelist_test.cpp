#include <nodetree/valuelist.h>

#include "support.hpp"

#include <cstdint>

using test::values_owner;

namespace {

using Elements = std::vector<void *>;

int x[4];
void *const a = &x[0], *const b = &x[1], *const c = &x[2], *const d = &x[3];

Elements take(void **list) {
  const values_owner owner(list);
  EXPECT_NE(list, nullptr);
  return Elements(list, list + vl_len(list));
}

void *address(uintptr_t value) {
  return reinterpret_cast<void *>(value);
}

TEST(ValueList, GrowsInArgumentOrderAndIsCopied) {
  EXPECT_EQ(take(vl_append(_vl_append(_vl_new(a, b, c, nullptr), d, nullptr), a, a)),
            (Elements{a, b, c, d, a, a}));
  EXPECT_EQ(take(vl_append(nullptr, d)), Elements{d});
  EXPECT_EQ(vl_appendn(nullptr, nullptr, 0), nullptr);
  const Elements more{b, nullptr, c};
  void **list = vl_appendn(vl_new(b, c), more.data(), more.size());
  EXPECT_EQ(vl_appendn(list, nullptr, 0), list);
  EXPECT_EQ(take(vl_copyn(list, 3)), (Elements{b, c, b}));
  EXPECT_EQ(vl_copyn(list, SIZE_MAX), nullptr);
  EXPECT_EQ(take(vl_appendn(list, list, 2)), (Elements{b, c, b, c, b, c}));
}

TEST(ValueList, DistinguishesEmptyListsFromNull) {
  EXPECT_TRUE(vl_empty(nullptr) && vl_len(nullptr) == 0 && !vl_copy(nullptr));
  void **nothing = nullptr;
  for (void **empty : {_vl_new(nullptr), _vl_append(nothing, nullptr), vl_copyn(nullptr, 0),
                       vl_appendn(nullptr, Elements{nullptr, nullptr}.data(), 2)}) {
    EXPECT_TRUE(vl_empty(empty));
    EXPECT_EQ(take(vl_copy(empty)), Elements{});
    EXPECT_EQ(take(_vl_append(empty, nullptr)), Elements{});
  }
}

TEST(ValueList, EqualsByIdentityAndOrder) {
  const values_owner lists[] = {values_owner(), values_owner(_vl_new(nullptr)),
                                values_owner(vl_new(a)), values_owner(vl_new(a, b)),
                                values_owner(vl_new(b, a))};
  for (const values_owner &left : lists)
    for (const values_owner &right : lists) {
      const values_owner same(vl_copy(left.get()));
      EXPECT_EQ(vl_equals(same.get(), right.get()), &left == &right);
    }
}

TEST(ValueList, ConcatConsumesTheSecondList) {
  void **list = vl_concat(nullptr, vl_new(a, b));
  EXPECT_EQ(vl_concat(list, nullptr), list);
  EXPECT_EQ(vl_concat(list, _vl_new(nullptr)), list);
  EXPECT_EQ(take(vl_concat(list, vl_new(c, d))), (Elements{a, b, c, d}));
}

TEST(ValueList, IsWrittenAsItsAddresses) {
  const values_owner list(vl_new(address(0x1000), address(0x20)));
  EXPECT_EQ(test::take(vl_stringify(list.get())), "[ 0x1000, 0x20 ]");
  EXPECT_EQ(test::take(vl_stringify(nullptr)), "[ ]");
}

TEST(ValueList, SortsByAddressOverTheWholeAddressSpace) {
  void *const low = address(1), *const middle = address(UINTPTR_MAX / 2 + 2),
              *const high = address(UINTPTR_MAX);
  void **list = vl_new(high, low, middle, low);
  for (void **each : {list, static_cast<void **>(nullptr)})
    vl_sort(each, vl_sort_natural_cmp);
  EXPECT_EQ(take(list), (Elements{low, low, middle, high}));
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
