/* Prints size and one pixel of a PNG file: png_pixel FILE X Y. */
#include <png.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    png_image image = {.version = PNG_IMAGE_VERSION};
    if (argc != 4 || !png_image_begin_read_from_file(&image, argv[1])) return 2;
    image.format = PNG_FORMAT_RGB;
    unsigned char* pixels = malloc(PNG_IMAGE_SIZE(image));
    const size_t x = strtoul(argv[2], NULL, 10), y = strtoul(argv[3], NULL, 10);
    if (!pixels || x >= image.width || y >= image.height) return 2;
    if (!png_image_finish_read(&image, NULL, pixels, 0, NULL)) return 2;
    const unsigned char* pixel = pixels + (y * image.width + x) * 3;
    printf("%ux%u #%02x%02x%02x\n", image.width, image.height, pixel[0], pixel[1], pixel[2]);
    free(pixels);
    return 0;
}
