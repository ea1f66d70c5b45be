# SPDX-License-Identifier: MIT
# gnuplot -e "data='peers.dat'; picture='peers.svg'" peers.gnuplot: what okt_peers measured, one half for saving and one for loading.

set terminal svg size 960,500 font "sans-serif,13" background "white"
set output picture
set multiplot layout 1,2
set logscale xy
set xlabel "objects"
set ylabel "ns per object"
set xrange [700:1400000]
set yrange [5:20000]
set format x "10^{%T}"
set grid xtics ytics linecolor rgb "#dddddd"
set key top left reverse Left samplen 2

# Columns of the data: objects, memcpy, then save and load of each.
do for [half = 0:1] {
    set title half == 0 ? "Save" : "Load"
    plot data using 1:(column(3 + half)) with linespoints linewidth 3 pointtype 7 linecolor "#c0392b" title "this library", \
         data using 1:(column(5 + half)) with linespoints linewidth 1.5 pointtype 5 linecolor "#2471a3" title "cereal", \
         data using 1:(column(7 + half)) with linespoints linewidth 1.5 pointtype 9 linecolor "#1e8449" title "Boost.Serialization", \
         data using 1:(column(9 + half)) with linespoints linewidth 1.5 pointtype 11 linecolor "#b9770e" title "Protocol Buffers", \
         data using 1:(column(11 + half)) with linespoints linewidth 1.5 pointtype 13 linecolor "#7d3c98" title "FlatBuffers", \
         data using 1:(column(13 + half)) with linespoints linewidth 1.5 pointtype 4 linecolor "#138d75" title "Cap'n Proto", \
         data using 1:2 with lines linewidth 1.5 dashtype 2 linecolor "#555555" title "memcpy of our image"
}
