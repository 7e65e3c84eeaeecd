// FilteredDataList: evaluation of items through the filter chain and the notifications. Callbacks
// may add or remove registrations while a notification runs, so every notification walks the
// current vectors by index inside a walk whose bounds follow the erasures: no removed object is
// called afterwards, no remaining one is skipped or called twice, and objects added meanwhile
// wait for the next notification.
#include <qobase/algorithms/filtered_data_list.h>

#include <algorithm>

// Pushes a walk over `objects` and pops it however the walk ends. Walks nest when a callback
// starts another notification, so the list keeps them as a stack.
class FilteredDataList::WalkScope {
 public:
  WalkScope(FilteredDataList& list, const void* objects, size_t size)
      : m_walks(list.m_walks), m_depth(list.m_walks.size()) {
    m_walks.push_back(Walk{objects, 0, size});
  }
  ~WalkScope() { m_walks.pop_back(); }
  WalkScope(const WalkScope&) = delete;
  WalkScope& operator=(const WalkScope&) = delete;

  bool More() const { return m_walks[m_depth].next < m_walks[m_depth].end; }
  size_t Take() { return m_walks[m_depth].next++; }

 private:
  std::vector<Walk>& m_walks;
  size_t m_depth;
};

template <class T, class Call>
void FilteredDataList::VisitAll(const std::vector<T*>& objects, Call call) {
  WalkScope walk(*this, &objects, objects.size());
  while (walk.More()) call(objects[walk.Take()]);
}

template <class T>
void FilteredDataList::EraseAt(std::vector<T*>& objects, size_t index) {
  for (Walk& walk : m_walks) {
    if (walk.vector != &objects) continue;
    if (index < walk.next) {
      --walk.next;
      --walk.end;
    } else if (index < walk.end) {
      --walk.end;
    }
  }
  objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(index));
}

template <class T>
void FilteredDataList::EraseFirst(std::vector<T*>& objects, T* object) {
  const auto found = std::find(objects.begin(), objects.end(), object);
  if (found != objects.end()) EraseAt(objects, static_cast<size_t>(found - objects.begin()));
}

bool FilteredDataList::IsDataConsumer(const IDataConsumer* consumer) const {
  return std::find(m_dataConsumers.begin(), m_dataConsumers.end(), consumer) !=
         m_dataConsumers.end();
}

bool FilteredDataList::IsFilterConsumer(const IDataFilterConsumer* consumer) const {
  return std::find(m_filterConsumers.begin(), m_filterConsumers.end(), consumer) !=
         m_filterConsumers.end();
}

FilteredDataList::~FilteredDataList() {
  ClearAllItems();
  ClearAllFilters();
}

void FilteredDataList::SetSource(IDataSource* source) {
  m_source = source;
  ClearAllItems();
  EvaluateAllRows();
}

void FilteredDataList::FilterChanged() { EvaluateAllRows(); }

FilteredDataList::IDataIterator* FilteredDataList::GetRowIterator() {
  return m_source ? m_source->GetRowIterator() : nullptr;
}

FilteredDataList::IDataIterator* FilteredDataList::GetColumnIterator(const void* item) {
  return m_source ? m_source->GetColumnIterator(item) : nullptr;
}

void FilteredDataList::AddFilter(IDataFilter* filter) {
  if (!filter) return;
  m_filters.push_back(filter);
  filter->SetList(this);
  VisitAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterAdded(filter); });
  EvaluateAllRows();
}

void FilteredDataList::RemoveFilter(IDataFilter* filter) {
  if (std::find(m_filters.begin(), m_filters.end(), filter) == m_filters.end()) return;
  filter->SetList(nullptr);
  VisitAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterRemoved(filter); });
  EraseFirst(m_filters, filter);
}

void FilteredDataList::RemoveFilter(FilterIterator& position) {
  if (position == m_filters.end()) return;
  const auto index = static_cast<size_t>(position - m_filters.begin());
  IDataFilter* filter = *position;
  filter->SetList(nullptr);
  VisitAll(m_filterConsumers, [&](IDataFilterConsumer* c) { c->FilterRemoved(filter); });
  // The callbacks may have changed the vector; find the filter again before erasing it.
  if (index < m_filters.size() && m_filters[index] == filter) {
    EraseAt(m_filters, index);
  } else {
    EraseFirst(m_filters, filter);
  }
  position = m_filters.begin() + static_cast<std::ptrdiff_t>(std::min(index, m_filters.size()));
}

void FilteredDataList::ClearAllFilters() {
  while (!m_filters.empty()) {
    FilterIterator first = m_filters.begin();
    RemoveFilter(first);
  }
}

void FilteredDataList::DestroyAllFilters() {
  while (!m_filters.empty()) {
    IDataFilter* filter = m_filters.front();
    FilterIterator first = m_filters.begin();
    RemoveFilter(first);
    filter->Destroy();
  }
}

void FilteredDataList::AddFilterConsumer(IDataFilterConsumer* consumer) {
  if (!consumer) return;
  m_filterConsumers.push_back(consumer);
  WalkScope walk(*this, &m_filters, m_filters.size());
  while (walk.More() && IsFilterConsumer(consumer)) consumer->FilterAdded(m_filters[walk.Take()]);
}

void FilteredDataList::RemoveFilterConsumer(IDataFilterConsumer* consumer) {
  EraseFirst(m_filterConsumers, consumer);
}

void FilteredDataList::AddDataConsumer(IDataConsumer* consumer) {
  if (!consumer) return;
  m_dataConsumers.push_back(consumer);
  IDataSource* source = m_source;
  IDataIterator* rows = source ? source->GetRowIterator() : nullptr;
  if (!rows) return;
  while (const void* item = rows->Next()) {
    if (Passes(item)) consumer->ItemAddedOrChanged(item);
    if (m_source != source) break;  // a callback swapped the source: stop walking the old one
    if (!IsDataConsumer(consumer)) break;  // it left: it hears nothing more
  }
  rows->Release();
}

void FilteredDataList::RemoveDataConsumer(IDataConsumer* consumer) {
  if (consumer) EraseFirst(m_dataConsumers, consumer);
}

void FilteredDataList::ItemAddedOrChanged(const void* item) {
  if (!m_source) return;
  if (Passes(item)) {
    VisitAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemAddedOrChanged(item); });
  } else {
    VisitAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemRemoved(item); });
  }
}

void FilteredDataList::ItemRemoved(const void* item) {
  VisitAll(m_dataConsumers, [&](IDataConsumer* c) { c->ItemRemoved(item); });
}

bool FilteredDataList::ApplyFilters(const void* item) { return Passes(item); }

void FilteredDataList::ClearAllItems() {
  VisitAll(m_dataConsumers, [](IDataConsumer* c) { c->ClearAllItems(); });
}

void FilteredDataList::OpenBrace() {
  VisitAll(m_dataConsumers, [](IDataConsumer* c) { c->OpenBrace(); });
}

void FilteredDataList::CloseBrace() {
  VisitAll(m_dataConsumers, [](IDataConsumer* c) { c->CloseBrace(); });
}

bool FilteredDataList::Passes(const void* item) {
  IDataIterator* columns = m_source ? m_source->GetColumnIterator(item) : nullptr;
  bool passes = true;
  for (size_t i = 0; i < m_filters.size() && passes; ++i) {
    const void* value = columns ? columns->Next() : nullptr;
    passes = m_filters[i]->Accept(value);
  }
  if (columns) columns->Release();
  return passes;
}

void FilteredDataList::EvaluateAllRows() {
  IDataSource* source = m_source;
  IDataIterator* rows = source ? source->GetRowIterator() : nullptr;
  if (!rows) return;
  while (const void* item = rows->Next()) {
    ItemAddedOrChanged(item);
    if (m_source != source) break;  // a callback swapped the source: stop walking the old one
  }
  rows->Release();
}
