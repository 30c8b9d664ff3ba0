#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "quonutil/collections/AutoList.h"
#include "tests/support/Allocations.h"

namespace {

TEST(List, BehavesAsAVectorWhateverIsDoneToIt) {
  std::mt19937 random(7);
  for (unsigned int room : {0U, 1U, 8U}) {
    List<int const*> list(room, room);
    std::vector<int const*> model;
    std::vector<int> const numbers(4000);
    for (int const& number : numbers) {
      // Grows for a while, then shrinks, with the ends more often than the middle.
      auto const size = static_cast<unsigned int>(model.size());
      unsigned int const places[] = {0, size, size / 2,
                                     size == 0 ? 0 : static_cast<unsigned int>(random() % size)};
      unsigned int const place = places[random() % 4];
      bool const growing = (&number - numbers.data()) % 1000 < 600;
      if (size == 0 || (random() % 8 < 6) == growing) {
        list.insert(place, &number);
        model.insert(model.begin() + place, &number);
      } else {
        unsigned int const index = place == size ? size - 1 : place;
        ASSERT_EQ(list.remove(index), model[index]);
        model.erase(model.begin() + index);
      }
      ASSERT_EQ(list.count(), model.size());
      for (unsigned int i = 0; i < list.count(); ++i) ASSERT_EQ(list[i], model[i]);
    }
    List<int const*> const moved(std::move(list));
    EXPECT_EQ(moved.count(), model.size());
    EXPECT_EQ(list.count(), 0U);
    list.append(model[0]);
    EXPECT_EQ(list[0], model[0]);
  }
}

TEST(List, AllocatesSeldomWhicheverEndsAreUsed) {
  int const number = 0;
  List<int const*> list(0, 1000);
  unsigned int const before = allocations;
  for (int i = 0; i < 1000; ++i) list.append(&number);
  EXPECT_EQ(allocations, before + 1);  // the step
  while (list.count() > 3) list.remove(0);
  for (int i = 0; i < 100000; ++i) {
    list.append(&number);
    list.remove(0);
  }
  EXPECT_EQ(allocations, before + 1);  // a queue stays where it is
  for (unsigned int i = 0; i < 100000; ++i) list.insert(i % 2 * list.count(), &number);
  EXPECT_LT(allocations, before + 60);  // a share of what there is
}

struct Element {
  ~Element() {
    log += name;
    log += std::to_string(list.count());
  }
  char name;
  std::string& log;
  List<Element*>& list;
};

TEST(AutoList, DeletesFromTheLastToTheFirstAndTakesEachOutBefore) {
  std::string log;
  {
    AutoList<Element*> list;
    for (char name : {'a', 'b', 'c'}) list.append(new Element{name, log, list});
    delete list.remove(1);
  }
  EXPECT_EQ(log, "b2c1a0");
}

}  // namespace
