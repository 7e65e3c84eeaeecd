// FilteredDataList: a filtered view over a table that another module owns. A data source hands
// out the items (rows) and each item's column values; filter i tests column i; data consumers
// hear which items pass and which no longer do; filter consumers hear filters come and go. The
// list owns none of these objects, keeps no item state and recomputes everything from the source
// and the filters. Notifications are synchronous, in registration order, on the caller's thread.
// A callback may register or remove objects: a notification reaches those registered when it
// started and not removed before their turn, each once.
#pragma once

#include <cstddef>
#include <vector>

class FilteredDataList {
 public:
  // Walks the rows of a source or the column values of one item.
  class IDataIterator {
   public:
    // Ends the walk; the list never touches the iterator afterwards. Whether that frees it or
    // hands it back to its source is the source's affair.
    virtual void Release() = 0;
    // Starts the walk again from the first element. The list itself never calls it.
    virtual void Reset() = 0;
    // The next row or column value, null at the end.
    virtual const void* Next() = 0;

   protected:
    ~IDataIterator() = default;
  };

  class IDataSource {
   public:
    // Either may give null, which reads as a walk with nothing in it.
    virtual IDataIterator* GetRowIterator() = 0;
    virtual IDataIterator* GetColumnIterator(const void* item) = 0;

   protected:
    ~IDataSource() = default;
  };

  class IDataFilter {
   public:
    // The list the filter belongs to; null once it is removed.
    virtual void SetList(FilteredDataList* list) = 0;
    // Whether the item's value in this filter's column passes.
    virtual bool Accept(const void* value) = 0;
    // Called by DestroyAllFilters only.
    virtual void Destroy() = 0;

   protected:
    ~IDataFilter() = default;
  };

  class IDataConsumer {
   public:
    virtual void ItemAddedOrChanged(const void* item) = 0;
    // May name an item the consumer never heard of.
    virtual void ItemRemoved(const void* item) = 0;
    virtual void ClearAllItems() = 0;
    // Bracket a burst of changes, so the consumer can defer its updates to the end.
    virtual void OpenBrace() = 0;
    virtual void CloseBrace() = 0;

   protected:
    ~IDataConsumer() = default;
  };

  class IDataFilterConsumer {
   public:
    virtual void FilterAdded(IDataFilter* filter) = 0;
    virtual void FilterRemoved(IDataFilter* filter) = 0;

   protected:
    ~IDataFilterConsumer() = default;
  };

  using FilterIterator = std::vector<IDataFilter*>::iterator;

  FilteredDataList() = default;
  // Tells the data consumers ClearAllItems, then removes every filter as ClearAllFilters does.
  ~FilteredDataList();
  FilteredDataList(const FilteredDataList&) = delete;
  FilteredDataList& operator=(const FilteredDataList&) = delete;

  // Tells every data consumer ClearAllItems, then, with a source, evaluates every row. Null is
  // allowed and leaves the consumers cleared.
  void SetSource(IDataSource* source);
  // Evaluates every row again (without clearing first); nothing without a source.
  void FilterChanged();

  // The source's iterators, or null without a source.
  IDataIterator* GetRowIterator();
  IDataIterator* GetColumnIterator(const void* item);

  // Appends the filter, tells it this list, tells the filter consumers, and, with a source,
  // evaluates every row. Null is ignored.
  void AddFilter(IDataFilter* filter);
  // When the filter is in the list: tells it null, tells the filter consumers, and erases it.
  // Rows are not evaluated again: follow with FilterChanged.
  void RemoveFilter(IDataFilter* filter);
  // The same for the filter at `position`, which then points at the next filter.
  void RemoveFilter(FilterIterator& position);
  // Removes every filter, first to last, without destroying any.
  void ClearAllFilters();
  // Removes every filter, first to last, and calls its Destroy after its removal.
  void DestroyAllFilters();
  FilterIterator FilterBegin() { return m_filters.begin(); }
  FilterIterator FilterEnd() { return m_filters.end(); }

  // Appends the consumer and tells it FilterAdded for every existing filter, in order. Null is
  // ignored.
  void AddFilterConsumer(IDataFilterConsumer* consumer);
  // Erases the consumer's first occurrence.
  void RemoveFilterConsumer(IDataFilterConsumer* consumer);

  // Appends the consumer and, with a source, tells it (and no one else) every item that passes;
  // failing items are not reported. Null is ignored.
  void AddDataConsumer(IDataConsumer* consumer);
  // Erases the consumer's first occurrence; null is ignored.
  void RemoveDataConsumer(IDataConsumer* consumer);

  // The source's owner reports an item added or changed: the filters test its column values in
  // order, and every data consumer hears ItemAddedOrChanged when all pass, ItemRemoved at the
  // first refusal. Nothing happens without a source.
  void ItemAddedOrChanged(const void* item);
  // Tells every data consumer ItemRemoved.
  void ItemRemoved(const void* item);
  // Whether the item passes every filter (true with none), telling no one. Without a source, or
  // when the source gives no column iterator, the filters are asked about null values.
  bool ApplyFilters(const void* item);
  // Relayed to every data consumer.
  void ClearAllItems();
  void OpenBrace();
  void CloseBrace();

 private:
  // A walk over one of the vectors while callbacks may change it: the entries [next, end) of
  // `vector` are still to visit.
  struct Walk {
    const void* vector;
    size_t next;
    size_t end;
  };
  class WalkScope;

  // Asks the filters in order about the item's column values; false at the first refusal.
  bool Passes(const void* item);
  void EvaluateAllRows();
  // Calls `call` for every object the vector holds when the walk starts and still holds when
  // its turn comes, in order, once each.
  template <class T, class Call>
  void VisitAll(const std::vector<T*>& objects, Call call);
  // Erases one entry and moves the bounds of the walks over that vector with it.
  template <class T>
  void EraseAt(std::vector<T*>& objects, size_t index);
  template <class T>
  void EraseFirst(std::vector<T*>& objects, T* object);
  bool IsDataConsumer(const IDataConsumer* consumer) const;
  bool IsFilterConsumer(const IDataFilterConsumer* consumer) const;

  IDataSource* m_source = nullptr;
  std::vector<IDataFilter*> m_filters;
  std::vector<IDataConsumer*> m_dataConsumers;
  std::vector<IDataFilterConsumer*> m_filterConsumers;
  std::vector<Walk> m_walks;  // the walks in progress, innermost last
};
