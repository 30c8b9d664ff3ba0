# gnuplot -c chart.gp DATA FAMILY SVG: one bar a row, from 1 (as fast as the peer) to our ratio, and
# a line to the worst one; the ratio stands at the right.
rows = int(system("wc -l < " . ARG1))
set terminal svg size 760, 70 + 20 * rows font "sans-serif,11" background "white"
set output ARG3
set title ARG2 . ": our time as a ratio of the peer's (medians; left of 1 is faster)"
set logscale x 2
set xrange [0.015:7]
set xtics (0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 4)
set yrange [-0.7:rows - 0.3]
set ytics scale 0
set grid xtics linecolor "#dddddd"
set arrow from 1, graph 0 to 1, graph 1 nohead linecolor "#888888" front
set lmargin at screen 0.36
set datafile separator "\t"
set boxwidth 0.6
set style fill solid noborder
within(ratio) = ratio < 0.015 ? 0.015 : ratio > 4 ? 4 : ratio
unset key
plot ARG1 using (1):0:(1):(within($2)):($0 - 0.3):($0 + 0.3):ytic(1) \
       with boxxyerror linecolor rgb "#4477aa", \
     ARG1 using (within($2)):0:(within($2)):(within($3)) with xerrorbars linecolor "#333333" \
       pointtype 0, \
     ARG1 using (5.2):0:(sprintf("%.2f", $2)) with labels font ",10"
