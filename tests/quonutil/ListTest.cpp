#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "quonutil/collections/AutoList.h"

namespace {

TEST(List, BehavesAsAVectorWhateverIsDoneToIt) {
  std::mt19937 random(7);
  for (unsigned int room : {0U, 1U, 8U}) {
    List<int const*> list(room, room);
    std::vector<int const*> model;
    std::vector<int> const numbers(4000);
    for (int const& number : numbers) {
      auto const size = static_cast<unsigned int>(model.size());
      auto const place = static_cast<unsigned int>(random() % 3 * size / 2);  // ends and middle
      bool const growing = (&number - numbers.data()) % 1000 < 600;
      if (size == 0 || (random() % 8 < 6) == growing) {
        list.insert(place, &number);
        model.insert(model.begin() + place, &number);
      } else {
        unsigned int const index = std::min(place, size - 1);
        ASSERT_EQ(list.remove(index), model[index]);
        model.erase(model.begin() + index);
      }
      ASSERT_EQ(list.count(), model.size());
      for (unsigned int i = 0; i < list.count(); ++i) ASSERT_EQ(list[i], model[i]);
    }
    List<int const*> const moved(std::move(list));
    EXPECT_EQ(moved.count(), model.size());
    list.append(model[0]);
    EXPECT_EQ(list[list.count() - 1], list[0]);
  }
}

struct Element {
  ~Element() { log += name + std::to_string(list.count()); }
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
