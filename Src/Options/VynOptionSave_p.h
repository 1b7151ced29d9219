#pragma once

/// \file
/// The new text of a file that is saved: runs of the old text, with new pieces between them.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vyn::detail {

/// \brief A text made of runs of an old one and of pieces of its own. The old text outlives the object.
class CNewText {
public:
    explicit CNewText(std::string_view old) : m_old(old) {}

    /// Appends \p length bytes of the old text from \p start on, which points into it.
    void Copy(const char* start, size_t length) { Append({true, static_cast<size_t>(start - m_old.data()), length}); }
    /// Appends \p text, as a run of the old one when that has it at \p start; null is nowhere.
    void Put(const char* start, std::string_view text);
    /// The place behind what was appended last.
    void GetPlace(size_t& piece, size_t& offset) const {
        piece = m_pieces.size();
        offset = m_pieces.empty() ? 0 : m_pieces.back().length;
    }
    /// Inserts \p text at such a place, behind what was inserted there before.
    void InsertAt(size_t piece, size_t offset, std::string_view text);

    /// \return the text in pieces, which live as long as the object and as nothing is added.
    std::vector<std::string_view> GetPieces() const;
    /// \return true when the new text is the old one.
    bool IsOldText() const;

private:
    struct Piece {
        bool isOld;
        size_t start;
        size_t length;
    };
    struct Insertion {
        size_t piece;
        size_t offset;
        Piece text;
    };

    void Append(const Piece& piece);
    Piece Keep(std::string_view text);
    std::string_view View(const Piece& piece) const {
        return (piece.isOld ? m_old : std::string_view(m_made)).substr(piece.start, piece.length);
    }

    std::string_view m_old;
    std::string m_made;
    std::vector<Piece> m_pieces;
    std::vector<Insertion> m_insertions;
};

}  // namespace vyn::detail
