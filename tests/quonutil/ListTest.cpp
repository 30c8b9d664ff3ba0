#include "quonutil/collections/List.h"
#include "tests/support/Prelude.h"

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
  }
}

TEST(List, TheRoomThatWasAskedForIsBehindWhatIsThere) {
  ListImplementation list(20, 20);
  for (int i = 0; i < 20; ++i) list.append(&list);
  for (int i = 0; i < 15; ++i) list.remove(0);
  list.reserve(20);
  void** const first = &list.at(0);
  while (list.count() < 20) list.append(&list);
  EXPECT_EQ(&list.at(0), first);  // nothing was moved
}
