// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "JpegTrial.h"

#include <algorithm>
#include <array>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <jpeglib.h>

#include <jpegint.h>

#include "FitError.h"

// libjpeg's own Huffman table builder, which its statistics pass uses; exported by the library
// but declared only in a header it keeps to itself.
extern "C" void jpeg_gen_optimal_table(j_compress_ptr cinfo, JHUFF_TBL* htbl, long freq[]);

namespace parcelo::detail {

namespace {

using Bytes = std::vector<std::uint8_t>;

// libvips keeps full chroma from this setting up and halves it both ways below; so do we, so
// that a trial's file is the file libvips would write.
constexpr int kFirstFullChromaSetting = 90;
constexpr int kRowsPerWrite = 16;
constexpr std::size_t kOutputChunk = 64 * 1024;

// Markers every file of ours has, whatever its pixels: start and end of image (2 + 2), the
// JFIF header (18), two 8-bit quantisation tables (2 × 69), the frame header of three components
// (19) and the scan header (14). Each Huffman table adds 21 bytes and one per symbol it codes.
constexpr std::int64_t kFixedMarkerBytes = 2 + 2 + 18 + 2 * 69 + 19 + 14;
constexpr std::int64_t kHuffmanTableBytes = 21;

// The first pass's statistics: how often each Huffman symbol occurs, counted exactly as
// libjpeg's own statistics step counts them, so that the tables made from them are libjpeg's.
// Baseline JPEG codes each block as a DC symbol (the bit length of its difference to the
// component's previous DC) and AC run/size symbols, each followed by that many magnitude bits.
//
// They also tell what the file costs at the very least. However the tables are then made, no
// prefix code spends fewer bits on the symbols seen than the unrestricted optimal code for their
// histogram; and every block still to come adds at least two symbols (its DC, then an AC symbol
// or the end of block) of at least one bit each, as a JPEG code word is never shorter. So the
// sum is a lower bound of the final file at every moment of the first pass.
class SymbolCounts {
public:
    void add(j_compress_ptr info, JBLOCKROW* blocks) {
        for (int block = 0; block < info->blocks_in_MCU; ++block) {
            const int component = info->MCU_membership[block];
            const jpeg_component_info* details = info->cur_comp_info[component];
            add(blocks[block][0], lastDc_[component], symbols_[details->dc_tbl_no], symbols_[2 + details->ac_tbl_no]);
        }
    }

    // libjpeg's tables for the counts, for each table the scan uses.
    void makeTables(j_compress_ptr info) const {
        for (int component = 0; component < info->comps_in_scan; ++component) {
            const jpeg_component_info* details = info->cur_comp_info[component];
            makeTable(info, info->dc_huff_tbl_ptrs[details->dc_tbl_no], symbols_[details->dc_tbl_no]);
            makeTable(info, info->ac_huff_tbl_ptrs[details->ac_tbl_no], symbols_[2 + details->ac_tbl_no]);
        }
    }

    [[nodiscard]] std::int64_t leastBytes(std::int64_t blocksToCome) const {
        std::uint64_t bits = magnitudeBits_ + 2 * static_cast<std::uint64_t>(blocksToCome);
        std::int64_t tableBytes = 0;
        for (const Histogram& histogram : symbols_) {
            bits += optimalCodeBits(histogram);
            tableBytes += kHuffmanTableBytes + std::ranges::count_if(histogram, [](long count) { return count > 0; });
        }
        return kFixedMarkerBytes + tableBytes + static_cast<std::int64_t>((bits + 7) / 8);
    }

private:
    // One more than the symbols: libjpeg's table builder reserves the last count for itself.
    using Histogram = std::array<long, 257>;

    static void makeTable(j_compress_ptr info, JHUFF_TBL*& table, const Histogram& histogram) {
        if (table == nullptr) table = jpeg_alloc_huff_table(reinterpret_cast<j_common_ptr>(info));
        Histogram counts = histogram;  // the builder clobbers what it is given
        jpeg_gen_optimal_table(info, table, counts.data());
    }

    static int bitLength(int value) { return std::bit_width(static_cast<unsigned>(std::abs(value))); }

    void add(const JCOEF* block, int& lastDc, Histogram& dc, Histogram& ac) {
        const int dcBits = bitLength(block[0] - lastDc);
        lastDc = block[0];
        ++dc[static_cast<std::size_t>(dcBits)];
        magnitudeBits_ += static_cast<std::uint64_t>(dcBits);
        // The non-zero AC coefficients in zig-zag order, one bit each, walked from one to the next.
        // Most are zero, so the block is looked at four coefficients at a time.
        static const std::array<std::uint8_t, DCTSIZE2> zigZagIndex = [] {
            std::array<std::uint8_t, DCTSIZE2> index{};
            for (int zigZag = 0; zigZag < DCTSIZE2; ++zigZag)
                index[static_cast<std::size_t>(jpeg_natural_order[zigZag])] = static_cast<std::uint8_t>(zigZag);
            return index;
        }();
        std::uint64_t nonZero = 0;
        for (int first = 0; first < DCTSIZE2; first += 4) {
            std::uint64_t four = 0;
            std::memcpy(&four, block + first, sizeof four);
            if (four == 0) continue;
            for (int natural = first; natural < first + 4; ++natural)
                if (block[natural] != 0) nonZero |= std::uint64_t{1} << zigZagIndex[static_cast<std::size_t>(natural)];
        }
        nonZero &= ~std::uint64_t{1};  // the DC coefficient is coded above
        int previous = 0;
        for (; nonZero != 0; nonZero &= nonZero - 1) {
            const int index = std::countr_zero(nonZero);
            int run = index - previous - 1;
            previous = index;
            for (; run > 15; run -= 16) ++ac[0xF0];  // sixteen zeros
            const int acBits = bitLength(block[jpeg_natural_order[index]]);
            ++ac[static_cast<std::size_t>((run << 4) + acBits)];
            magnitudeBits_ += static_cast<std::uint64_t>(acBits);
        }
        if (previous < DCTSIZE2 - 1) ++ac[0];  // end of block
    }

    // The cost of a Huffman code built for these counts: the sum of every merged weight. A JPEG
    // code word has at least one bit, so a lone symbol costs one bit a use.
    static std::uint64_t optimalCodeBits(const Histogram& histogram) {
        std::array<std::uint64_t, 256> leaves{};
        std::size_t leafCount = 0;
        for (std::size_t symbol = 0; symbol < 256; ++symbol)
            if (histogram[symbol] > 0) leaves[leafCount++] = static_cast<std::uint64_t>(histogram[symbol]);
        if (leafCount == 1) return leaves[0];
        std::sort(leaves.begin(), leaves.begin() + static_cast<std::ptrdiff_t>(leafCount));
        // Merged weights come out in rising order, so two sorted queues replace a heap.
        std::array<std::uint64_t, 256> merged{};
        std::size_t nextLeaf = 0, nextMerged = 0, mergedCount = 0;
        auto takeSmallest = [&] {
            if (nextMerged == mergedCount || (nextLeaf < leafCount && leaves[nextLeaf] <= merged[nextMerged]))
                return leaves[nextLeaf++];
            return merged[nextMerged++];
        };
        std::uint64_t bits = 0;
        for (std::size_t merges = 1; merges < leafCount; ++merges) {
            const std::uint64_t weight = takeSmallest() + takeSmallest();
            merged[mergedCount++] = weight;
            bits += weight;
        }
        return bits;
    }

    std::array<Histogram, 4> symbols_{};  // DC tables 0 and 1, then AC tables 0 and 1
    std::array<int, MAX_COMPS_IN_SCAN> lastDc_{};
    std::uint64_t magnitudeBits_ = 0;
};

enum class Stop { none, tooBig, measured, failed };

// Everything one encode needs, reached from libjpeg's callbacks through client_data.
struct Trial {
    explicit Trial(std::int64_t byteLimit, bool measuring) : limit(byteLimit), measureOnly(measuring) {
        info.err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr common) { stop(common, Stop::failed); };
        errors.emit_message = [](j_common_ptr, int) {};
        errors.output_message = [](j_common_ptr) {};
        info.client_data = this;
        destination.init_destination = [](j_compress_ptr compress) { of(compress).restartBuffer(); };
        destination.empty_output_buffer = [](j_compress_ptr compress) {
            of(compress).keep(kOutputChunk);
            return static_cast<boolean>(TRUE);
        };
        destination.term_destination = [](j_compress_ptr compress) {
            of(compress).keep(kOutputChunk - compress->dest->free_in_buffer);
        };
    }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;
    ~Trial() { jpeg_destroy_compress(&info); }

    static Trial& of(j_compress_ptr compress) { return *static_cast<Trial*>(compress->client_data); }

    // Plain C flow from here to the setjmp in `compress`: nothing on the way has a destructor.
    [[noreturn]] static void stop(j_common_ptr common, Stop reason) {
        auto& trial = *static_cast<Trial*>(common->client_data);
        trial.stopped = reason;
        std::longjmp(trial.jump, 1);
    }

    void restartBuffer() {
        info.dest->next_output_byte = buffer.data();
        info.dest->free_in_buffer = buffer.size();
    }

    void keep(std::size_t length) {
        if (static_cast<std::int64_t>(file.size() + length) > limit) stop(reinterpret_cast<j_common_ptr>(&info), Stop::tooBig);
        bool kept = false;
        try {
            file.insert(file.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
            kept = true;
        } catch (const std::bad_alloc&) {
        }
        if (!kept) stop(reinterpret_cast<j_common_ptr>(&info), Stop::failed);
        restartBuffer();
    }

    // The first pass's statistics step, in place of libjpeg's, with the least size checked after
    // each row of blocks.
    static boolean gather(j_compress_ptr compress, JBLOCKROW* blocks) {
        Trial& trial = of(compress);
        trial.counts.add(compress, blocks);
        if (++trial.blocksInRow < compress->MCUs_per_row) return TRUE;
        trial.blocksInRow = 0;
        ++trial.rowsSeen;
        const auto blocksToCome = std::int64_t{compress->MCU_rows_in_scan - trial.rowsSeen} *
                                  compress->MCUs_per_row * compress->blocks_in_MCU;
        trial.leastBytes = trial.counts.leastBytes(blocksToCome);
        if (trial.measureOnly) trial.leastByRow.push_back(trial.leastBytes);
        if (trial.leastBytes > trial.limit) stop(reinterpret_cast<j_common_ptr>(compress), Stop::tooBig);
        if (trial.measureOnly && trial.rowsSeen == compress->MCU_rows_in_scan)
            stop(reinterpret_cast<j_common_ptr>(compress), Stop::measured);
        return TRUE;
    }

    // The end of the statistics pass: libjpeg's tables, made from the counts.
    static void makeTables(j_compress_ptr compress) { of(compress).counts.makeTables(compress); }

    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr destination{};
    std::jmp_buf jump{};
    Stop stopped = Stop::none;
    std::int64_t limit;
    bool measureOnly;
    std::array<JOCTET, kOutputChunk> buffer{};
    Bytes file;
    SymbolCounts counts;
    JDIMENSION blocksInRow = 0;
    JDIMENSION rowsSeen = 0;
    std::int64_t leastBytes = 0;
    std::vector<std::int64_t> leastByRow;  // only when measuring
};

void configure(jpeg_compress_struct& info, const RgbRows& rows, JpegTrialSettings settings) {
    info.image_width = static_cast<JDIMENSION>(rows.width);
    info.image_height = static_cast<JDIMENSION>(rows.height);
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    info.optimize_coding = settings.optimiseCoding ? TRUE : FALSE;
    jpeg_set_quality(&info, settings.setting, TRUE);
    if (settings.setting >= kFirstFullChromaSetting) {
        for (int component = 0; component < info.num_components; ++component) {
            info.comp_info[component].h_samp_factor = 1;
            info.comp_info[component].v_samp_factor = 1;
        }
    }
}

// The whole encode; false when libjpeg or a check stopped it (the reason is in the trial). Plain
// C flow only between setjmp and the libjpeg calls: nothing here has a destructor to skip.
bool compress(Trial& trial, const RgbRows& rows, JpegTrialSettings settings) {
    if (setjmp(trial.jump) != 0) return false;
    jpeg_create_compress(&trial.info);
    trial.info.dest = &trial.destination;
    configure(trial.info, rows, settings);
    jpeg_start_compress(&trial.info, TRUE);
    // The first pass of optimised coding only counts symbols and makes the tables from them; the
    // pass that writes the file installs its own steps, so only the first is replaced.
    if (trial.info.optimize_coding) {
        trial.info.entropy->encode_mcu = Trial::gather;
        trial.info.entropy->finish_pass = Trial::makeTables;
    }
    std::array<JSAMPROW, kRowsPerWrite> batch{};
    while (trial.info.next_scanline < trial.info.image_height) {
        const JDIMENSION first = trial.info.next_scanline;
        const JDIMENSION count = std::min<JDIMENSION>(kRowsPerWrite, trial.info.image_height - first);
        for (JDIMENSION index = 0; index < count; ++index)
            batch[index] = const_cast<JSAMPROW>(rows.row(static_cast<std::int64_t>(first + index)));
        jpeg_write_scanlines(&trial.info, batch.data(), count);
    }
    jpeg_finish_compress(&trial.info);
    return true;
}

}  // namespace

std::optional<Bytes> encodeJpegWithin(const RgbRows& rows, JpegTrialSettings settings, std::int64_t byteLimit) {
    const auto trial = std::make_unique<Trial>(byteLimit, false);
    if (compress(*trial, rows, settings)) return std::move(trial->file);
    if (trial->stopped == Stop::tooBig) return std::nullopt;
    throw FitError(FitError::Case::cannotEncode);
}

std::vector<std::int64_t> leastJpegBytes(const RgbRows& rows, int setting) {
    const auto trial = std::make_unique<Trial>(INT64_MAX, true);
    // Room for a bound per row of blocks (at least 8 pixel rows each), so that
    // nothing is allocated inside libjpeg's callback, where a failure could not be reported.
    trial->leastByRow.reserve(static_cast<std::size_t>(rows.height / 8 + 1));
    compress(*trial, rows, {setting, true});
    if (trial->stopped != Stop::measured) throw FitError(FitError::Case::cannotEncode);
    return std::move(trial->leastByRow);
}

}  // namespace parcelo::detail
