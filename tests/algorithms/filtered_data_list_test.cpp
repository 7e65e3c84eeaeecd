// The filtered data list against a scripted table, filters and consumers that log every call:
// the chain of filters, who hears what in which order, and a source or registrations that change
// while a notification runs.
#include <qobase/algorithms/filtered_data_list.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using List = FilteredDataList;

// Every call of every test double, in order; Take returns those since the last Take.
struct Events {
  std::string calls;
  void Add(const std::string& call) { calls += (calls.empty() ? "" : " ") + call; }
  std::string Take() { return std::exchange(calls, std::string()); }
};

struct Row {
  std::string name;
  std::vector<std::string> values;  // one per column
};

std::string NameOf(const void* item) { return static_cast<const Row*>(item)->name; }

// A table whose iterators free themselves on Release; `live` counts those not yet released.
class Table : public List::IDataSource {
 public:
  struct Iterator final : List::IDataIterator {
    Iterator(int& count, std::vector<const void*> all) : live(count), elements(std::move(all)) {
      ++live;
    }
    void Release() override {
      --live;
      delete this;
    }
    void Reset() override { next = 0; }
    const void* Next() override { return next < elements.size() ? elements[next++] : nullptr; }
    int& live;
    std::vector<const void*> elements;
    size_t next = 0;
  };

  List::IDataIterator* GetRowIterator() override {
    std::vector<const void*> items;
    for (const Row& row : rows) items.push_back(&row);
    return new Iterator(live, items);
  }
  List::IDataIterator* GetColumnIterator(const void* item) override {
    std::vector<const void*> values;
    for (const std::string& value : static_cast<const Row*>(item)->values) values.push_back(&value);
    return new Iterator(live, values);
  }

  std::vector<Row> rows;
  int live = 0;
};

// Passes the values in `accepted` (any value when it is empty).
class Filter : public List::IDataFilter {
 public:
  Filter(Events& log, std::string filterName, std::vector<std::string> accepted = {})
      : name(std::move(filterName)), events(log), m_accepted(std::move(accepted)) {}
  void SetList(List* owner) override {
    list = owner;
    events.Add(name + (owner ? ".list" : ".unlisted"));
  }
  bool Accept(const void* value) override {
    const std::string text = value ? *static_cast<const std::string*>(value) : "null";
    events.Add(name + "?" + text);
    return m_accepted.empty() ||
           std::find(m_accepted.begin(), m_accepted.end(), text) != m_accepted.end();
  }
  void Destroy() override { events.Add(name + ".destroyed"); }

  const std::string name;
  Events& events;
  List* list = nullptr;

 private:
  std::vector<std::string> m_accepted;
};

// Logs every call; `react`, when set, runs after an item is logged.
class Consumer : public List::IDataConsumer {
 public:
  Consumer(Events& log, std::string consumerName) : events(log), name(std::move(consumerName)) {}
  void ItemAddedOrChanged(const void* item) override { Heard("+", item); }
  void ItemRemoved(const void* item) override { Heard("-", item); }
  void ClearAllItems() override { events.Add(name + ".clear"); }
  void OpenBrace() override { events.Add(name + "{"); }
  void CloseBrace() override { events.Add(name + "}"); }

  Events& events;
  const std::string name;
  std::function<void(const void* item)> react;

 private:
  void Heard(const char* what, const void* item) {
    events.Add(name + what + NameOf(item));
    if (react) react(item);
  }
};

// Every filter of these tests is a Filter, so its name can be read back.
class FilterWatcher : public List::IDataFilterConsumer {
 public:
  explicit FilterWatcher(Events& log) : events(log) {}
  void FilterAdded(List::IDataFilter* f) override {
    events.Add("added:" + static_cast<Filter*>(f)->name);
    if (react) react();
  }
  void FilterRemoved(List::IDataFilter* f) override {
    events.Add("removed:" + static_cast<Filter*>(f)->name);
  }

  Events& events;
  std::function<void()> react;
};

class FilteredDataListTest : public ::testing::Test {
 protected:
  FilteredDataListTest() {
    // Columns: colour, size.
    table.rows = {{"a", {"red", "big"}}, {"b", {"blue", "big"}}, {"c", {"red", "small"}}};
  }
  ~FilteredDataListTest() override { EXPECT_EQ(table.live, 0) << "an iterator was not released"; }

  Events events;
  Table table;
  Filter f1{events, "F1", {"red"}}, f2{events, "F2", {"big"}}, f3{events, "F3"};
  Consumer c1{events, "C1"}, c2{events, "C2"};
  FilterWatcher watcher{events};
};

TEST_F(FilteredDataListTest, SourceIsEvaluatedThroughTheFilterChain) {
  List list;
  list.AddDataConsumer(&c1);
  list.AddDataConsumer(&c2);
  list.AddFilterConsumer(&watcher);
  list.AddFilter(&f1);
  list.AddFilter(&f2);
  // No source: the filters join and are announced, nothing is evaluated.
  EXPECT_EQ(events.Take(), "F1.list added:F1 F2.list added:F2");
  EXPECT_EQ(f1.list, &list);

  // "b" fails the first filter: the second is not asked, and it is removed everywhere.
  list.SetSource(&table);
  EXPECT_EQ(events.Take(),
            "C1.clear C2.clear F1?red F2?big C1+a C2+a F1?blue C1-b C2-b F1?red F2?small C1-c "
            "C2-c");

  EXPECT_TRUE(list.ApplyFilters(&table.rows[0]));
  EXPECT_FALSE(list.ApplyFilters(&table.rows[1]));
  EXPECT_EQ(events.Take(), "F1?red F2?big F1?blue");

  // A filter with more columns than the row has sees null.
  list.AddFilter(&f3);
  EXPECT_EQ(events.Take(),
            "F3.list added:F3 F1?red F2?big F3?null C1+a C2+a F1?blue C1-b C2-b F1?red F2?small "
            "C1-c C2-c");

  list.SetSource(nullptr);
  EXPECT_EQ(events.Take(), "C1.clear C2.clear");
  list.ItemAddedOrChanged(&table.rows[0]);  // needs a source
  list.FilterChanged();
  EXPECT_EQ(events.Take(), "");
  EXPECT_EQ(list.GetRowIterator(), nullptr);
  EXPECT_EQ(list.GetColumnIterator(&table.rows[0]), nullptr);
  EXPECT_FALSE(list.ApplyFilters(&table.rows[0]));  // filters asked about null values
  EXPECT_EQ(events.Take(), "F1?null");
}

TEST_F(FilteredDataListTest, RemovingFiltersDoesNotEvaluate) {
  List list;
  list.AddFilterConsumer(&watcher);
  list.SetSource(&table);
  list.AddDataConsumer(&c1);
  EXPECT_EQ(events.Take(), "C1+a C1+b C1+c");  // no filters: all pass, no clear
  list.AddFilter(&f1);
  list.AddFilter(&f2);
  list.AddFilter(&f3);
  events.Take();

  Filter stranger(events, "X");
  list.RemoveFilter(&stranger);
  EXPECT_EQ(events.Take(), "");

  list.RemoveFilter(&f2);
  EXPECT_EQ(events.Take(), "F2.unlisted removed:F2");
  list.FilterChanged();  // no clear first
  EXPECT_EQ(events.Take(), "F1?red F3?big C1+a F1?blue C1-b F1?red F3?small C1+c");

  List::FilterIterator position = list.FilterBegin();
  list.RemoveFilter(position);
  ASSERT_NE(position, list.FilterEnd());
  EXPECT_EQ(*position, &f3);
  list.RemoveFilter(position);
  EXPECT_EQ(position, list.FilterEnd());
  list.RemoveFilter(position);  // at the end: nothing
  EXPECT_EQ(events.Take(), "F1.unlisted removed:F1 F3.unlisted removed:F3");
}

TEST_F(FilteredDataListTest, ClearingDestroyingAndLateConsumers) {
  {
    List list;
    list.AddDataConsumer(&c1);
    list.AddFilter(&f1);
    list.AddFilter(&f2);
    list.AddFilter(&f3);
    list.AddFilterConsumer(&watcher);
    EXPECT_EQ(events.Take(), "F1.list F2.list F3.list added:F1 added:F2 added:F3");

    list.ClearAllFilters();
    EXPECT_EQ(events.Take(),
              "F1.unlisted removed:F1 F2.unlisted removed:F2 F3.unlisted removed:F3");
    EXPECT_EQ(list.FilterBegin(), list.FilterEnd());

    list.AddFilter(&f1);
    list.AddFilter(&f2);
    events.Take();
    list.DestroyAllFilters();
    EXPECT_EQ(events.Take(),
              "F1.unlisted removed:F1 F1.destroyed F2.unlisted removed:F2 F2.destroyed");

    list.AddFilter(&f3);
    list.RemoveFilterConsumer(&watcher);
    list.RemoveDataConsumer(nullptr);
    list.OpenBrace();
    list.ItemRemoved(&table.rows[2]);
    list.ClearAllItems();
    list.CloseBrace();
    EXPECT_EQ(events.Take(), "F3.list added:F3 C1{ C1-c C1.clear C1}");

    // A data consumer added later hears only the items that pass, and no clear.
    list.SetSource(&table);
    list.RemoveFilter(&f3);
    list.AddFilter(&f1);
    events.Take();
    list.AddDataConsumer(&c2);
    list.AddDataConsumer(nullptr);
    EXPECT_EQ(events.Take(), "F1?red C2+a F1?blue F1?red C2+c");
    list.RemoveDataConsumer(&c1);
    list.ItemRemoved(&table.rows[0]);
    EXPECT_EQ(events.Take(), "C2-a");
  }
  // Destroyed: consumers cleared, filters removed but not destroyed.
  EXPECT_EQ(events.Take(), "C2.clear F1.unlisted");
}

// The owner of the source reports changes as they happen, also from inside a notification.
TEST_F(FilteredDataListTest, SourceThatChangesWhileViewed) {
  List list;
  list.AddFilter(&f1);
  list.SetSource(&table);
  list.AddDataConsumer(&c1);
  events.Take();

  table.rows.push_back({"d", {"red", "tiny"}});
  list.ItemAddedOrChanged(&table.rows.back());
  table.rows[0].values[0] = "green";
  list.ItemAddedOrChanged(&table.rows[0]);
  EXPECT_EQ(events.Take(), "F1?red C1+d F1?green C1-a");

  // On hearing of "c", a consumer turns "b" red and reports it: a nested evaluation.
  Consumer reactor(events, "R");
  reactor.react = [&](const void* item) {
    if (NameOf(item) != "c") return;
    table.rows[1].values[0] = "red";
    list.ItemAddedOrChanged(&table.rows[1]);
  };
  list.AddDataConsumer(&reactor);
  EXPECT_EQ(events.Take(), "F1?green F1?blue F1?red R+c F1?red C1+b R+b F1?red R+d");
  list.RemoveDataConsumer(&reactor);

  // A consumer that drops the source in the middle of a walk stops it.
  Consumer dropper(events, "D");
  dropper.react = [&](const void*) { list.SetSource(nullptr); };
  list.AddDataConsumer(&dropper);
  EXPECT_EQ(events.Take(), "F1?green F1?red D+b C1.clear D.clear");
  list.SetSource(&table);
  EXPECT_EQ(events.Take(), "C1.clear D.clear F1?green C1-a D-a C1.clear D.clear");
  list.RemoveDataConsumer(&dropper);
}

// Registrations changed by a callback: everyone registered when a notification starts and not
// removed before their turn hears it once, in order; a removed consumer hears nothing more.
TEST_F(FilteredDataListTest, RegistrationsChangedDuringANotification) {
  List list;
  Consumer leaver(events, "L"), remover(events, "R");
  leaver.react = [&](const void*) { list.RemoveDataConsumer(&leaver); };
  remover.react = [&](const void*) { list.RemoveDataConsumer(&c1); };
  list.AddDataConsumer(&leaver);
  list.AddDataConsumer(&c1);
  list.AddDataConsumer(&c2);
  list.ItemRemoved(&table.rows[0]);
  list.ItemRemoved(&table.rows[1]);
  EXPECT_EQ(events.Take(), "L-a C1-a C2-a C1-b C2-b");

  // Removing an earlier consumer does not make a later one miss the notification.
  list.AddDataConsumer(&remover);
  list.AddDataConsumer(&leaver);
  list.ItemRemoved(&table.rows[0]);
  list.ItemRemoved(&table.rows[1]);
  EXPECT_EQ(events.Take(), "C1-a C2-a R-a L-a C2-b R-b");
  list.RemoveDataConsumer(&remover);

  // A consumer that leaves while it is shown the source hears no further item.
  list.SetSource(&table);
  events.Take();
  list.AddDataConsumer(&leaver);
  EXPECT_EQ(events.Take(), "L+a");

  // A filter consumer that registers another on hearing of a filter: the newcomer hears of that
  // filter once, from its own registration.
  FilterWatcher recruiter(events);
  recruiter.react = [&] { list.AddFilterConsumer(&watcher); };
  list.AddFilterConsumer(&recruiter);
  list.AddFilter(&f3);
  EXPECT_EQ(events.Take(), "F3.list added:F3 added:F3 F3?red C2+a F3?blue C2+b F3?red C2+c");
  list.RemoveFilterConsumer(&recruiter);
}

}  // namespace
