// The filtered data list against a scripted table, filters and consumers that log every call:
// the chain of filters, who hears what in which order, and a source that changes while viewed.
#include <qobase/algorithms/filtered_data_list.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using List = FilteredDataList;

// Every call of every test double, in order.
struct Events {
  std::vector<std::string> calls;
  void Add(const std::string& call) { calls.push_back(call); }
  // The calls since the last Take, joined by blanks.
  std::string Take() {
    std::string text;
    for (const std::string& call : calls) text += (text.empty() ? "" : " ") + call;
    calls.clear();
    return text;
  }
};

struct Row {
  std::string name;
  std::vector<std::string> values;  // one per column
};

std::string NameOf(const void* item) { return static_cast<const Row*>(item)->name; }

// A table whose iterators free themselves on Release; `live` counts those not yet released.
class Table : public List::IDataSource {
 public:
  class Iterator final : public List::IDataIterator {
   public:
    Iterator(Table& owner, std::vector<const void*> elements)
        : m_owner(owner), m_elements(std::move(elements)) {
      ++m_owner.live;
    }
    void Release() override {
      --m_owner.live;
      delete this;
    }
    void Reset() override { m_next = 0; }
    const void* Next() override {
      return m_next < m_elements.size() ? m_elements[m_next++] : nullptr;
    }

   private:
    ~Iterator() = default;
    Table& m_owner;
    std::vector<const void*> m_elements;
    size_t m_next = 0;
  };

  List::IDataIterator* GetRowIterator() override {
    std::vector<const void*> items;
    for (const Row& row : rows) items.push_back(&row);
    return new Iterator(*this, items);
  }
  List::IDataIterator* GetColumnIterator(const void* item) override {
    std::vector<const void*> values;
    for (const std::string& value : static_cast<const Row*>(item)->values) values.push_back(&value);
    return new Iterator(*this, values);
  }

  std::vector<Row> rows;
  int live = 0;
};

// Passes the values in `accepted` (any value when it is empty).
class Filter : public List::IDataFilter {
 public:
  Filter(Events& events, std::string filterName, std::vector<std::string> accepted = {})
      : name(std::move(filterName)), m_events(events), m_accepted(std::move(accepted)) {}
  void SetList(List* list) override {
    this->list = list;
    m_events.Add(name + (list ? ".list" : ".unlisted"));
  }
  bool Accept(const void* value) override {
    const std::string text = value ? *static_cast<const std::string*>(value) : "null";
    m_events.Add(name + "?" + text);
    if (m_accepted.empty()) return true;
    for (const std::string& accepted : m_accepted) {
      if (accepted == text) return true;
    }
    return false;
  }
  void Destroy() override { m_events.Add(name + ".destroyed"); }

  const std::string name;
  List* list = nullptr;

 private:
  Events& m_events;
  std::vector<std::string> m_accepted;
};

class Consumer : public List::IDataConsumer {
 public:
  Consumer(Events& events, std::string name) : m_events(events), m_name(std::move(name)) {}
  void ItemAddedOrChanged(const void* item) override { m_events.Add(m_name + "+" + NameOf(item)); }
  void ItemRemoved(const void* item) override { m_events.Add(m_name + "-" + NameOf(item)); }
  void ClearAllItems() override { m_events.Add(m_name + ".clear"); }
  void OpenBrace() override { m_events.Add(m_name + "{"); }
  void CloseBrace() override { m_events.Add(m_name + "}"); }

 private:
  Events& m_events;
  std::string m_name;
};

// Every filter of these tests is a Filter, so its name can be read back.
class FilterWatcher : public List::IDataFilterConsumer {
 public:
  explicit FilterWatcher(Events& events) : m_events(events) {}
  void FilterAdded(List::IDataFilter* f) override { m_events.Add("added:" + Name(f)); }
  void FilterRemoved(List::IDataFilter* f) override { m_events.Add("removed:" + Name(f)); }

 private:
  static const std::string& Name(List::IDataFilter* f) { return static_cast<Filter*>(f)->name; }
  Events& m_events;
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
  Filter f1{events, "F1", {"red"}};
  Filter f2{events, "F2", {"big"}};
  Filter f3{events, "F3"};
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
  list.FilterChanged();
  EXPECT_EQ(events.Take(),
            "F1?red F3?big C1+a F1?blue C1-b F1?red F3?small C1+c");  // no clear first

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
  Events& e = events;
  {
    List list;
    list.AddDataConsumer(&c1);
    list.AddFilter(&f1);
    list.AddFilter(&f2);
    list.AddFilter(&f3);
    list.AddFilterConsumer(&watcher);
    EXPECT_EQ(e.Take(), "F1.list F2.list F3.list added:F1 added:F2 added:F3");

    list.ClearAllFilters();
    EXPECT_EQ(e.Take(), "F1.unlisted removed:F1 F2.unlisted removed:F2 F3.unlisted removed:F3");
    EXPECT_EQ(list.FilterBegin(), list.FilterEnd());

    list.AddFilter(&f1);
    list.AddFilter(&f2);
    e.Take();
    list.DestroyAllFilters();
    EXPECT_EQ(e.Take(), "F1.unlisted removed:F1 F1.destroyed F2.unlisted removed:F2 F2.destroyed");

    list.AddFilter(&f3);
    list.RemoveFilterConsumer(&watcher);
    list.RemoveDataConsumer(nullptr);
    list.OpenBrace();
    list.ItemRemoved(&table.rows[2]);
    list.ClearAllItems();
    list.CloseBrace();
    EXPECT_EQ(e.Take(), "F3.list added:F3 C1{ C1-c C1.clear C1}");
  }
  // Destroyed: consumers cleared, filters removed but not destroyed.
  EXPECT_EQ(e.Take(), "C1.clear F3.unlisted");
}

TEST_F(FilteredDataListTest, DataConsumerAddedLaterHearsOnlyPassingItems) {
  List list;
  list.AddDataConsumer(&c1);
  list.SetSource(&table);
  list.AddFilter(&f1);
  events.Take();
  list.AddDataConsumer(&c2);
  EXPECT_EQ(events.Take(), "F1?red C2+a F1?blue F1?red C2+c");
  list.AddDataConsumer(nullptr);
  list.RemoveDataConsumer(&c1);
  list.ItemRemoved(&table.rows[0]);
  EXPECT_EQ(events.Take(), "C2-a");
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

  // A consumer that, on hearing of "c", turns "b" red and reports it: nested evaluation.
  class Reactor : public Consumer {
   public:
    Reactor(Events& events, List& list, Table& table)
        : Consumer(events, "R"), m_list(list), m_table(table) {}
    void ItemAddedOrChanged(const void* item) override {
      Consumer::ItemAddedOrChanged(item);
      if (NameOf(item) == "c") {
        m_table.rows[1].values[0] = "red";
        m_list.ItemAddedOrChanged(&m_table.rows[1]);
      }
    }

   private:
    List& m_list;
    Table& m_table;
  } reactor(events, list, table);
  list.AddDataConsumer(&reactor);
  EXPECT_EQ(events.Take(), "F1?green F1?blue F1?red R+c F1?red C1+b R+b F1?red R+d");

  // A consumer that drops the source in the middle of a walk stops it.
  class Dropper : public Consumer {
   public:
    Dropper(Events& events, List& list) : Consumer(events, "D"), m_list(list) {}
    void ItemAddedOrChanged(const void* item) override {
      Consumer::ItemAddedOrChanged(item);
      if (armed) m_list.SetSource(nullptr);
    }
    bool armed = false;

   private:
    List& m_list;
  } dropper(events, list);
  list.RemoveDataConsumer(&reactor);
  list.AddDataConsumer(&dropper);
  EXPECT_EQ(events.Take(), "F1?green F1?red D+b F1?red D+c F1?red D+d");
  dropper.armed = true;
  list.FilterChanged();
  EXPECT_EQ(events.Take(), "F1?green C1-a D-a F1?red C1+b D+b C1.clear D.clear");
  list.RemoveDataConsumer(&dropper);  // it goes out of scope before the list
}

}  // namespace

// A consumer that unregisters itself, or another consumer, when it hears its first item.
class Leaver : public Consumer {
 public:
  Leaver(Events& events, const char* name, List& list, List::IDataConsumer* leaving)
      : Consumer(events, name), m_list(list), m_leaving(leaving ? leaving : this) {}
  void ItemAddedOrChanged(const void* item) override {
    Consumer::ItemAddedOrChanged(item);
    m_list.RemoveDataConsumer(m_leaving);
  }
  void ItemRemoved(const void* item) override {
    Consumer::ItemRemoved(item);
    m_list.RemoveDataConsumer(m_leaving);
  }

 private:
  List& m_list;
  List::IDataConsumer* m_leaving;
};

// Registrations changed by a callback: everyone registered when a notification starts and not
// removed before their turn hears it once, in order; a removed consumer hears nothing more.
TEST_F(FilteredDataListTest, RegistrationsChangedDuringANotification) {
  List list;
  Leaver leaver(events, "L", list, nullptr);
  list.AddDataConsumer(&leaver);
  list.AddDataConsumer(&c1);
  list.AddDataConsumer(&c2);
  list.ItemRemoved(&table.rows[0]);
  list.ItemRemoved(&table.rows[1]);
  EXPECT_EQ(events.Take(), "L-a C1-a C2-a C1-b C2-b");

  // A consumer that removes an earlier one: the later ones are still told.
  Leaver remover(events, "R", list, &c1);
  list.AddDataConsumer(&remover);
  list.AddDataConsumer(&leaver);
  list.ItemRemoved(&table.rows[0]);
  EXPECT_EQ(events.Take(), "C1-a C2-a R-a L-a");
  list.ItemRemoved(&table.rows[1]);
  EXPECT_EQ(events.Take(), "C2-b R-b");

  // A consumer that leaves while it is being shown the source hears no further item.
  list.SetSource(&table);
  events.Take();
  list.AddDataConsumer(&leaver);
  EXPECT_EQ(events.Take(), "L+a");
  list.SetSource(nullptr);
  list.RemoveDataConsumer(&remover);
  EXPECT_EQ(events.Take(), "C2.clear R.clear");

  // A filter consumer that recruits another when it hears of a filter: the recruit hears that
  // filter once, from its own registration.
  class Recruiter : public FilterWatcher {
   public:
    Recruiter(Events& events, List& list, List::IDataFilterConsumer& recruit)
        : FilterWatcher(events), m_list(list), m_recruit(recruit) {}
    void FilterAdded(List::IDataFilter* f) override {
      FilterWatcher::FilterAdded(f);
      m_list.AddFilterConsumer(&m_recruit);
    }

   private:
    List& m_list;
    List::IDataFilterConsumer& m_recruit;
  } recruiter(events, list, watcher);
  list.AddFilterConsumer(&recruiter);
  list.AddFilter(&f1);
  EXPECT_EQ(events.Take(), "F1.list added:F1 added:F1");
  list.RemoveFilterConsumer(&recruiter);
}
