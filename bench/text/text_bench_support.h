// What the structured-text benchmarks share: the document they write and read.
#pragma once

#include <qobase/strings/std_str.h>

#include <string>
#include <vector>

namespace textbench {

// The document: Project > Bank (10) > Folder (10 each) > Group (100 each) > Sound (`perGroup`
// each, 100 gives one million), nested five deep. Containers hold only children; each Sound has
// two attributes and a text. Values come from a pool so both sides copy the same bytes.
struct Stream {
  static constexpr int k_banks = 10, k_folders = 10, k_groups = 100;
  const CStdStr elements[5] = {"Project", "Bank", "Folder", "Group", "Sound"};
  const CStdStr id = "id", name = "name";
  std::vector<CStdStr> ids, names;
  CStdStr text = "Take recorded at the second session, room mics";

  Stream() {
    for (int i = 0; i < 1000; ++i) {
      ids.push_back(std::to_string(100000 + i * 7919 % 900000));
      names.push_back("Sound " + std::to_string(i) + " & friends");  // needs escaping
    }
  }

  // Calls start(name, depth), attribute(name, value), text(value), end() in document order.
  template <class Start, class Attribute, class Text, class End>
  void Emit(int perGroup, Start start, Attribute attribute, Text textOut, End end) const {
    int n = 0;
    start(elements[0], 0);
    for (int b = 0; b < k_banks; ++b) {
      start(elements[1], 1);
      for (int f = 0; f < k_folders; ++f) {
        start(elements[2], 2);
        for (int g = 0; g < k_groups; ++g) {
          start(elements[3], 3);
          for (int s = 0; s < perGroup; ++s, ++n) {
            start(elements[4], 4);
            attribute(id, ids[n % 1000]);
            attribute(name, names[n % 1000]);
            textOut(text);
            end();
          }
          end();
        }
        end();
      }
      end();
    }
    end();
  }
};

}  // namespace textbench
